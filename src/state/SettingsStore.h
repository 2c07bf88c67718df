#pragma once

#include <QSettings>
#include <QString>

/// The QSettings constructor arguments that select this platform's store.
namespace korvane::SettingsStore {

QSettings::Format format();
QString organization();
QString application();

} // namespace korvane::SettingsStore
