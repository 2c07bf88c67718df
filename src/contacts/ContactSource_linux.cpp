#include "contacts/ContactSource.h"
#include "contacts/EvolutionSource.h"
#include "contacts/VCardSource.h"

#include <QDir>
#include <QStandardPaths>

namespace korvane {

namespace {

std::unique_ptr<ContactSource> folder(const QString& path)
{
    return std::make_unique<VCardSource>(std::filesystem::path(path.toStdString()));
}

} // namespace

/// The desktop's store, then the folders in which address-book tools keep one card file for each
/// contact or address book. None of them asks for access.
ContactSources platformContactSources(const AccessPrompt&)
{
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    ContactSources sources;
    sources.push_back(std::make_unique<EvolutionSource>());
    sources.push_back(folder(data + QStringLiteral("/contacts")));
    sources.push_back(folder(QDir::homePath() + QStringLiteral("/.contacts")));
    sources.push_back(folder(data + QStringLiteral("/kpeoplevcard")));
    return sources;
}

} // namespace korvane
