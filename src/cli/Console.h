#pragma once

#include <iostream>
#include <optional>
#include <string_view>

namespace korvane {

/// The streams of a command: results go to `out`, errors and progress to `err`, input comes from
/// `in`. A plain value that owns none of them.
struct Console {
    std::ostream& out;
    std::ostream& err;
    bool errIsTerminal = false; ///< a progress bar is drawn only on a terminal
    std::istream& in = std::cin;
    std::optional<int> outDescriptor{}; ///< what `out` writes to, if it is a descriptor

    /// Prints one line on `err`, prefixed with the program's name. The text may quote a chat's
    /// title, which other people choose, so it goes through printable(). Keys of links are left
    /// out.
    void complain(std::string_view text) const;

    /// Flushes `out`. If a write has failed, for example because the disk is full, complains,
    /// clears the stream's error state, so that later writes are tried, and returns false.
    bool outputIsComplete() const;
};

/// Exit codes of the program.
namespace ExitCode {
inline constexpr int success = 0;
inline constexpr int failure = 1; ///< part of the request could not be done
inline constexpr int badUsage = 2; ///< the command line is wrong
inline constexpr int interrupted = 130; ///< 128 + SIGINT, as in shells
} // namespace ExitCode

} // namespace korvane
