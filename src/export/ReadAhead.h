#pragma once

#include "export/Exporter.h"
#include "export/RecordBlocks.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace korvane {

/// Prepares the records of the chats that an export comes to next, on threads of its own. Each
/// thread has its own connection and reads one chat after the other, in the order of the export.
///
/// A chat's records are a queue of blocks. While the export waits for a chat, its queue is short,
/// so a large chat is streamed. The queues of all chats together have at most
/// ReadAheadLimits::bytes.
///
/// Created, used and destroyed by the thread that runs the export. The destructor interrupts the
/// threads and waits for their end.
class ReadAhead {
public:
    /// What to read.
    struct Chat {
        const ChatInfo* chat = nullptr; ///< must outlive the ReadAhead
        std::string title;
        std::int64_t afterRowID = 0;
    };

    /// By their place in the order of the export.
    using Chats = std::map<std::size_t, Chat>;

    /// Starts the threads. If the system has no threads left, there are fewer, or none. `names`
    /// must outlive this object.
    ReadAhead(const Chats& chats, const std::string& database, const ContactNames& names,
        const ReadAheadLimits& limits);
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    /// Waits for the first records of the chat at `place`, or for its end. Call it in ascending
    /// order: the chats before this one are given up. Returns false if the calling thread has to
    /// read the chat itself: it is not among those to read after this row id, or that failed.
    bool begin(std::size_t place, std::int64_t afterRowID);

    /// Thrown by forEachBlock().
    struct Failed : std::exception { };

    /// Passes the blocks of the chat of the last begin() to `visit`, as forEachRecordBlock() does,
    /// and waits for them if necessary. Throws Failed if the chat cannot be read to its end: the
    /// calling thread has to take back what it did with the blocks, and read the chat itself.
    void forEachBlock(const BlockVisitor& visit);

    /// The size of the records that are prepared and not passed on yet.
    std::size_t bytes() const;

private:
    enum class State { Open, Complete, Failed };

    struct Job {
        explicit Job(Chat what) : chat(std::move(what)) { }

        const Chat chat;
        std::atomic<bool> isGivenUp = false; ///< interrupts its query
        // Guarded by m_mutex:
        std::deque<RecordBlock> blocks;
        std::size_t bytes = 0; ///< of these blocks
        State state = State::Open;
    };
    using Jobs = std::map<std::size_t, Job>;

    void run();
    void readAll();
    Job* nextJob();
    void read(Job& job, MessagesDB& db);
    void add(Job& job, RecordBlock block);
    bool hasRoom(const Job& job, std::size_t bytes) const;
    void waitForBlock(std::unique_lock<std::mutex>& lock, const Job& job);
    std::optional<RecordBlock> take(Job& job);
    void giveUp(Job& job);
    void giveUpBefore(Jobs::iterator end);

    const std::string m_database;
    const ContactNames& m_names;
    const std::size_t m_maxBytes;
    Jobs m_jobs;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed; ///< anything below, or in a job
    Jobs::iterator m_nextToRead;
    Jobs::iterator m_wanted; ///< by the export; the jobs before it are given up
    std::size_t m_bytes = 0; ///< of the blocks in all queues
    std::size_t m_activeThreads = 0;
    std::vector<std::thread> m_threads;
};

} // namespace korvane
