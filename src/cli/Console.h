#pragma once

#include <chrono>
#include <cstdint>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// The streams of a command: results go to `out`, errors and progress to `err`, input comes from
/// `in`. A plain value that owns none of them.
struct Console {
    std::ostream& out;
    std::ostream& err;
    bool errIsTerminal = false; ///< a progress bar is drawn only on a terminal
    std::istream& in = std::cin;
    std::optional<int> outDescriptor{}; ///< what `out` writes to, if it is a descriptor
    bool inIsTerminal = false; ///< questions are asked only on a terminal

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

/// Formats a table: columns are as wide as their widest cell and two blanks apart.
class Table {
public:
    enum class Align { Left, Right };

    struct Column {
        std::string heading;
        Align align = Align::Left;
        int widest = 0; ///< in columns; longer cells are truncated; 0 = no limit
    };

    explicit Table(std::vector<Column> columns);

    /// Adds a row with one cell per column. Passes the cells through printable().
    void add(const std::vector<std::string>& cells);

    std::string text() const;

private:
    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

/// What a terminal needs to draw a line again.
inline constexpr std::string_view startOfLineAndWipe = "\r\x1B[K";

/// A progress bar on a terminal. It appears after `delay`, is redrawn every 100 ms at most, and
/// is erased by the destructor.
class ProgressBar {
public:
    using Clock = std::chrono::steady_clock;

    /// Draws nothing if `visible` is false. `total` is the amount of work, in any unit.
    ProgressBar(std::ostream& out, bool visible, std::int64_t total,
        Clock::duration delay = std::chrono::seconds(1));
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// `done` is the amount of work done so far, `doing` describes the current step.
    void show(std::int64_t done, std::string_view doing);

private:
    std::ostream& m_out;
    const bool m_visible;
    const std::int64_t m_total;
    Clock::time_point m_nextDraw;
    bool m_drawn = false;
};

} // namespace korvane
