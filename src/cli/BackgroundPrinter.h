#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>
#include <thread>

namespace korvane {

struct Console;

/// Prints to a console's output from a background thread, so that a reader who has stopped (a
/// paused pager, a terminal after Ctrl-S, a full pipe) blocks no other thread. Thread-safe.
class BackgroundPrinter {
public:
    explicit BackgroundPrinter(const Console& console);

    /// Drops what still waits. Where the console has a descriptor, a thread in the middle of a
    /// write() is detached, because it may be blocked; it uses nothing of the console or of this
    /// object. Otherwise waits for the write under way.
    ~BackgroundPrinter();

    BackgroundPrinter(const BackgroundPrinter&) = delete;
    BackgroundPrinter& operator=(const BackgroundPrinter&) = delete;

    /// Queues a text and returns at once. Drops it if more than `limit` bytes would be queued.
    void print(std::string_view text);

    /// Waits until everything is printed. Returns false after the timeout `time`.
    bool isDoneWithin(std::chrono::milliseconds time) const;

    static constexpr std::size_t limit = 262'144; ///< bytes

private:
    using Write = std::function<void(std::string_view text)>;
    struct Queue;

    static Write writerFor(const Console& console);
    static void printAll(Queue& queue, const Write& write);

    const bool m_mayBlock; ///< the thread writes to a descriptor and may be left behind
    const std::shared_ptr<Queue> m_queue; ///< shared with the thread
    std::thread m_thread;
};

} // namespace korvane
