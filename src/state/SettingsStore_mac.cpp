#include "state/SettingsStore.h"

namespace korvane {

// The defaults domain "app.korvane.KorvaneSync", which is the identifier of the bundle: Qt turns
// the domain round and puts the name behind it.
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
