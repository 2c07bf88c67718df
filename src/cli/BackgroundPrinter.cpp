#include "cli/BackgroundPrinter.h"

#include "cli/Console.h"
#include "storage/Descriptor.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>

namespace korvane {

namespace {

/// Writes all of `text`. Gives up on any error but EAGAIN and EINTR, for example a closed pipe.
void writeAll(int to, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = ::write(to, text.data(), text.size());
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN) { // inherited with O_NONBLOCK
            pollfd writable{to, POLLOUT, 0};
            ::poll(&writable, 1, -1);
        } else if (errno != EINTR) {
            return;
        }
    }
}

} // namespace

struct BackgroundPrinter::Queue {
    std::mutex lock;
    std::condition_variable changed;
    std::string waiting; ///< not taken by the thread yet; guarded by `lock`
    std::size_t beingWritten = 0; ///< bytes; guarded by `lock`
    bool isClosed = false; ///< guarded by `lock`
};

BackgroundPrinter::BackgroundPrinter(const Console& console)
    : m_mayBlock(console.outDescriptor.has_value())
    , m_queue(std::make_shared<Queue>())
    , m_thread([queue = m_queue, write = writerFor(console)] { printAll(*queue, write); })
{
}

BackgroundPrinter::~BackgroundPrinter()
{
    bool isWriting = false;
    {
        const std::lock_guard lock(m_queue->lock);
        m_queue->isClosed = true;
        isWriting = m_queue->beingWritten > 0;
    }
    m_queue->changed.notify_all();
    if (isWriting && m_mayBlock)
        m_thread.detach();
    else
        m_thread.join();
}

void BackgroundPrinter::print(std::string_view text)
{
    {
        const std::lock_guard lock(m_queue->lock);
        if (m_queue->waiting.size() + m_queue->beingWritten + text.size() > limit)
            return;
        m_queue->waiting += text;
    }
    m_queue->changed.notify_all();
}

bool BackgroundPrinter::isDoneWithin(std::chrono::milliseconds time) const
{
    std::unique_lock lock(m_queue->lock);
    return m_queue->changed.wait_for(
        lock, time, [this] { return m_queue->waiting.empty() && m_queue->beingWritten == 0; });
}

/// Duplicates the descriptor, because a detached thread may use it after the console is gone.
BackgroundPrinter::Write BackgroundPrinter::writerFor(const Console& console)
{
    if (!console.outDescriptor)
        return [&out = console.out](std::string_view text) { out << text << std::flush; };
    const auto descriptor = std::make_shared<Descriptor>(::dup(*console.outDescriptor));
    return [descriptor](std::string_view text) { writeAll(descriptor->get(), text); };
}

void BackgroundPrinter::printAll(Queue& queue, const Write& write)
{
    std::unique_lock lock(queue.lock);
    while (true) {
        queue.changed.wait(lock, [&queue] { return queue.isClosed || !queue.waiting.empty(); });
        if (queue.isClosed)
            return;
        const std::string text = std::exchange(queue.waiting, {});
        queue.beingWritten = text.size();
        lock.unlock();
        write(text);
        lock.lock();
        queue.beingWritten = 0;
        queue.changed.notify_all();
    }
}

} // namespace korvane
