#pragma once

namespace korvane {

/// Keeps one warning of Qt's from stderr; call it in main(), before the application object is made.
/// Qt 6.5 and later switch to UTF-8 in a locale with another encoding, as cron and "LC_ALL=C" set
/// it, and warn about that. These programs write UTF-8 in every locale.
void suppressLocaleWarning();

} // namespace korvane
