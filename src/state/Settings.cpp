#include "state/Settings.h"

#include <QStringList>

namespace korvane {

namespace {

const QString selectedKey = QStringLiteral("selected");
const QString autoSyncKey = QStringLiteral("autoSync");
const QString folderKey = QStringLiteral("folder");

/// Reads a stored boolean, which QSettings returns from an INI file as a string. Returns nothing if
/// the value is not a boolean; QVariant::toBool() would read any other non-empty string as true.
std::optional<bool> asBoolean(const QVariant& value)
{
    const QString word = value.toString();
    if (word == QLatin1String("true") || word == QLatin1String("1"))
        return true;
    if (word == QLatin1String("false") || word == QLatin1String("0"))
        return false;
    return std::nullopt;
}

} // namespace

Settings::Settings() : m_store(openSettingsStore())
{
    m_store->setFallbacksEnabled(false);
}

std::set<std::string> Settings::selected() const
{
    std::set<std::string> guids;
    for (const QString& guid : m_store->value(selectedKey).toStringList())
        guids.insert(guid.toStdString());
    return guids;
}

void Settings::setSelected(const std::set<std::string>& guids)
{
    QStringList list;
    for (const std::string& guid : guids)
        list.append(QString::fromStdString(guid));
    m_store->setValue(selectedKey, list);
}

bool Settings::autoSync() const
{
    return asBoolean(m_store->value(autoSyncKey)).value_or(true);
}

void Settings::setAutoSync(bool on)
{
    m_store->setValue(autoSyncKey, on);
}

std::optional<std::filesystem::path> Settings::folder() const
{
    const QVariant folder = m_store->value(folderKey);
    if (folder.typeId() != QMetaType::QString || folder.toString().isEmpty())
        return std::nullopt;
    return folder.toString().toStdString();
}

void Settings::setFolder(const std::filesystem::path& folder)
{
    m_store->setValue(folderKey, QString::fromStdString(folder.native()));
}

} // namespace korvane
