#include "state/Settings.h"

namespace korvane {

/// The store is the defaults domain "app.korvane.KorvaneSync", which is the bundle's identifier: Qt
/// reverses the organization's domain and appends the application's name.
std::unique_ptr<QSettings> openSettingsStore()
{
    return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
        QStringLiteral("korvane.app"), QStringLiteral("KorvaneSync"));
}

} // namespace korvane
