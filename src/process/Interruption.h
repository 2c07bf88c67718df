#pragma once

#include "storage/Descriptor.h"

#include <chrono>

namespace korvane {

/// While it lives, SIGINT (Ctrl-C), SIGTERM and SIGHUP (a closed terminal) do not kill the process:
/// the first one sets a flag, and the program ends when it next looks at the flag. A second SIGINT
/// kills. A second SIGTERM or SIGHUP changes nothing, because the end of a session sends several of
/// them: systemd sends SIGTERM and then SIGHUP, a shell passes on the SIGHUP that the kernel has
/// sent already. A signal that is ignored at the start, as under nohup, stays ignored. At most one
/// object at a time.
class Interruption {
public:
    /// Throws std::system_error if the process has no descriptors left.
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    bool requested() const;

    /// Readable once the end has been requested. For event loops; nobody may read from it.
    int descriptor() const { return m_readEnd.get(); }

    /// Sleeps for `duration` or until interrupted, whichever comes first.
    void sleep(std::chrono::duration<double> duration) const;

private:
    Descriptor m_readEnd; ///< of the pipe whose other end the signal handler writes to
};

} // namespace korvane
