#pragma once

namespace korvane {

/// What main() sets for the whole process, before it starts a thread.
namespace ProcessSetup {

/// Suppresses one warning of Qt's. Call it before the application object is made. Qt 6.5 and later
/// switch to UTF-8 in a locale with another encoding, as under cron or with "LC_ALL=C", and print a
/// warning. These programs write UTF-8 in every locale.
void suppressLocaleWarning();

/// Raises the soft limit on open descriptors (RLIMIT_NOFILE) to 1,024, or to the hard limit if that
/// is lower: macOS starts a program with 256, which the server's connections alone can use up. Not
/// higher, because child processes inherit the limit, and select() cannot handle descriptors above
/// 1,023. A higher soft limit stays.
void raiseDescriptorLimit();

/// Ignores SIGXFSZ: a write() over the limit on file sizes (RLIMIT_FSIZE) then fails with EFBIG
/// instead of killing the process.
void ignoreFileSizeSignal();

} // namespace ProcessSetup

} // namespace korvane
