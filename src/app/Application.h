#pragma once

#include <optional>
#include <string>
#include <vector>

namespace korvane {

class SupportFolder;

/// The two modes of the window program. Called by main() only, on the main thread.
namespace Application {

/// The argument after "--snapshot". Nothing if there is none; the program then opens its window.
std::optional<std::string> snapshotFolder(const std::vector<std::string>& arguments);

/// Writes the pictures of Snapshot::write() into `folder`. Returns the process's exit code.
int writeSnapshots(const std::string& folder, int& argc, char** argv);

/// Opens the window and runs until the user quits, a signal arrives or the session ends. If another
/// process is the first instance, only asks that one to show its window. Returns the process's exit
/// code. Startup failures go to stderr.
///
/// Ctrl-C (SIGINT), SIGTERM and SIGHUP end the program as "Quit" does: run() leaves the event loop,
/// and returns when the chat that is being exported is complete and the progress is saved. A second
/// SIGINT kills the process (see Interruption).
int run(const SupportFolder& support, int& argc, char** argv);

} // namespace Application

} // namespace korvane
