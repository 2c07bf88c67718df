#include "contacts/ContactNames.h"
#include "contacts/VCardSource.h"

#include <QDir>
#include <QStandardPaths>

namespace korvane {

namespace {

std::filesystem::path folder(const QString& path)
{
    return path.toStdString();
}

} // namespace

/// The folders in which address-book tools keep one card file per contact or book.
ContactSources platformContactSources()
{
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    ContactSources sources;
    sources.push_back(std::make_unique<VCardSource>(folder(data + QStringLiteral("/contacts"))));
    sources.push_back(
        std::make_unique<VCardSource>(folder(QDir::homePath() + QStringLiteral("/.contacts"))));
    return sources;
}

} // namespace korvane
