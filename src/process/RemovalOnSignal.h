#pragma once

#include <string>
#include <vector>

namespace korvane {

/// While it lives, a signal that kills the process first removes some files and their folder. For
/// files that nobody else should find. Concerns the signals that a program can catch and that this
/// one does not otherwise handle: a handler such as that of Interruption goes first, and one that
/// is ignored stays ignored. SIGKILL and a power cut leave the files behind. At most one object at
/// a time.
class RemovalOnSignal {
public:
    /// Absolute paths. The files need not exist. The folder is removed only if it is then empty.
    RemovalOnSignal(std::vector<std::string> files, std::string folder);
    ~RemovalOnSignal();
    RemovalOnSignal(const RemovalOnSignal&) = delete;
    RemovalOnSignal& operator=(const RemovalOnSignal&) = delete;

private:
    static void onSignal(int signal);

    const std::vector<std::string> m_files;
    const std::string m_folder;
};

} // namespace korvane
