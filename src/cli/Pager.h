#pragma once

#include "storage/Descriptor.h"

#include <sys/types.h>

#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

namespace korvane {

/// The user's pager ($PAGER, or less) and a stream into it. While it lives, Ctrl-C and the end of
/// the pager do not kill this process: writing then fails, which shows in the state of the stream.
/// At most one object at a time.
class Pager {
public:
    /// Starts the pager on the terminal. Null if the user wants none ($PAGER is empty or "cat"), if
    /// there is none, or if it cannot be started.
    static std::unique_ptr<Pager> start();

    /// Waits until the user has closed the pager, if close() has not.
    ~Pager();

    Pager(const Pager&) = delete;
    Pager& operator=(const Pager&) = delete;

    std::ostream& stream() { return m_stream; }

    /// Ends the stream and waits until the user has closed the pager. Returns false if the shell
    /// could not run the command; nothing was shown then. Called once.
    bool close();

    const std::string& command() const { return m_command; }

private:
    /// Writes to a descriptor.
    class Buffer : public std::streambuf {
    public:
        explicit Buffer(int descriptor);

    protected:
        int_type overflow(int_type character) override;
        int sync() override;

    private:
        const int m_descriptor;
        char m_bytes[16'384];
    };

    /// Ignores SIGINT, SIGQUIT and SIGPIPE, and restores them.
    class IgnoredSignals {
    public:
        IgnoredSignals();
        ~IgnoredSignals();
        IgnoredSignals(const IgnoredSignals&) = delete;
        IgnoredSignals& operator=(const IgnoredSignals&) = delete;

    private:
        struct Actions;
        std::unique_ptr<Actions> m_before;
    };

    Pager(std::string command, pid_t process, Descriptor pipe);

    const IgnoredSignals m_signals;
    const std::string m_command;
    const pid_t m_process;
    Descriptor m_pipe;
    Buffer m_buffer;
    std::ostream m_stream;
};

} // namespace korvane
