#pragma once

#include <QSettings>
#include <QString>

/// Where this platform keeps the settings of a program.
namespace korvane::SettingsStore {

QSettings::Format format();
QString organization();
QString application();

} // namespace korvane::SettingsStore
