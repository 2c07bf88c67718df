#pragma once

#include <iostream>
#include <optional>
#include <string_view>

namespace korvane {

/// Where a command writes its outcome, its errors and its progress, and what it may read from.
struct Console {
    std::ostream& out;
    std::ostream& err;
    bool errIsTerminal = false; ///< a progress bar is drawn only where it can be redrawn
    std::istream& in = std::cin;
    std::optional<int> outDescriptor{}; ///< what `out` writes to, where that is a descriptor

    /// One line on `err`, marked as this program's. The text may quote a chat's title, which
    /// others choose: it is made harmless for a terminal. The key of a link in it is left out.
    void complain(std::string_view text) const;

    /// Flushes `out`. Complains and returns false where something did not get there, for example
    /// because a disk is full; what is written from then on is tried again.
    bool outputIsComplete() const;
};

/// What the program ends with.
namespace ExitCode {
inline constexpr int success = 0;
inline constexpr int failure = 1; ///< something that was asked for could not be done
inline constexpr int badUsage = 2; ///< the command line makes no sense
inline constexpr int interrupted = 130; ///< 128 + SIGINT, as shells count
} // namespace ExitCode

} // namespace korvane
