#include "state/SettingsStore.h"

namespace korvane {

// The three values make QSettings use the defaults domain "app.korvane.KorvaneSync", which is the
// bundle's identifier: Qt reverses the organization's domain and appends the application's name.
QSettings::Format SettingsStore::format()
{
    return QSettings::NativeFormat;
}

QString SettingsStore::organization()
{
    return QStringLiteral("korvane.app");
}

QString SettingsStore::application()
{
    return QStringLiteral("KorvaneSync");
}

} // namespace korvane
