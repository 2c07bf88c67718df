#include "state/SettingsStore.h"

namespace korvane {

// The three values make QSettings use $XDG_CONFIG_HOME/KorvaneSync/KorvaneSync.ini.
QSettings::Format SettingsStore::format()
{
    return QSettings::IniFormat;
}

QString SettingsStore::organization()
{
    return QStringLiteral("KorvaneSync");
}

QString SettingsStore::application()
{
    return QStringLiteral("KorvaneSync");
}

} // namespace korvane
