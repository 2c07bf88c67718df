#include "state/Settings.h"

namespace korvane {

/// The store is $XDG_CONFIG_HOME/KorvaneSync/KorvaneSync.ini.
std::unique_ptr<QSettings> openSettingsStore()
{
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
        QStringLiteral("KorvaneSync"), QStringLiteral("KorvaneSync"));
}

} // namespace korvane
