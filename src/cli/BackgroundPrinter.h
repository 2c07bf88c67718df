#pragma once

#include "cli/Console.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>
#include <thread>

namespace korvane {

/// Prints on a console's output from a thread of its own, so that nobody else is blocked while
/// nobody reads: a paused pager, a terminal after Ctrl-S, a full pipe. May be used from any thread.
class BackgroundPrinter {
public:
    explicit BackgroundPrinter(const Console& console);

    /// Drops what is not printed yet. A thread that is blocked in the system's write() is left
    /// behind; it uses nothing of the console or of this object.
    ~BackgroundPrinter();

    BackgroundPrinter(const BackgroundPrinter&) = delete;
    BackgroundPrinter& operator=(const BackgroundPrinter&) = delete;

    /// Queues a text and returns at once. Drops it where that would make more than `limit` bytes
    /// wait.
    void print(std::string_view text);

    /// Waits until everything is printed; false where that takes longer than `time`.
    bool isDoneWithin(std::chrono::milliseconds time) const;

    static constexpr std::size_t limit = 262'144;

private:
    using Write = std::function<void(std::string_view text)>;
    struct Queue;

    static Write writerFor(const Console& console);
    static void printAll(Queue& queue, const Write& write);

    const bool m_mayBlock;
    const std::shared_ptr<Queue> m_queue; ///< shared with the thread
    std::thread m_thread;
};

} // namespace korvane
