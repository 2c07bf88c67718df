#pragma once

#include "storage/Descriptor.h"

#include <chrono>

namespace korvane {

/// While it lives, SIGINT (Ctrl-C), SIGTERM and SIGHUP (a closed terminal) do not kill the process:
/// the first one sets a flag, and the program ends when it next looks at the flag. A second SIGINT
/// kills. A second SIGTERM or SIGHUP changes nothing, because the end of a session sends several of
/// them: systemd sends SIGTERM and then SIGHUP, and a shell resends to its jobs the SIGHUP that the
/// kernel has already sent. A signal that is ignored at the start, as under nohup, stays ignored.
/// At most one object at a time.
class Interruption {
public:
    /// Throws std::system_error if the process has no descriptors left.
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    bool requested() const;

    /// Becomes readable once a signal has arrived. For event loops to watch; do not read from it.
    int descriptor() const { return m_readEnd.get(); }

    /// Sleeps for `duration` or until interrupted, whichever comes first.
    void sleep(std::chrono::duration<double> duration) const;

private:
    Descriptor m_readEnd; ///< of the self-pipe; the signal handler writes to the other end
};

} // namespace korvane
