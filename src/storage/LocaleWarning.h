#pragma once

namespace korvane {

/// Suppresses one warning of Qt's. Call it in main(), before the application object is made. Qt 6.5
/// and later switch to UTF-8 in a locale with another encoding, as under cron or with "LC_ALL=C",
/// and print a warning. These programs write UTF-8 in every locale.
void suppressLocaleWarning();

} // namespace korvane
