#include "export/ReadAhead.h"

#include "messages/MessagesDB.h"

#include <QThread>

#include <algorithm>
#include <system_error>
#include <utility>

namespace korvane {

namespace {

/// Ends the reading of a chat that the export no longer needs.
struct GivenUp { };

} // namespace

unsigned ReadAheadLimits::threadsOfThisMachine()
{
    const int cores = QThread::idealThreadCount(); // that this process may use; 1 if unknown
    return cores > 1 ? std::min(static_cast<unsigned>(cores), 3U) : 0;
}

ReadAhead::ReadAhead(const Chats& chats, const std::string& database, const ContactNames& names,
    const ReadAheadLimits& limits)
    : m_database(database)
    , m_names(names)
    , m_maxBytes(limits.bytes)
{
    for (const auto& [place, chat] : chats)
        m_jobs.try_emplace(place, chat);
    m_nextToRead = m_jobs.begin();
    m_wanted = m_jobs.begin();
    m_activeThreads = std::min<std::size_t>(limits.threads, m_jobs.size());
    m_threads.reserve(m_activeThreads);
    const std::lock_guard lock(m_mutex);
    try {
        while (m_threads.size() < m_activeThreads)
            m_threads.emplace_back([this] { run(); });
    } catch (const std::system_error&) {
        m_activeThreads = m_threads.size();
    }
}

ReadAhead::~ReadAhead()
{
    {
        const std::lock_guard lock(m_mutex);
        giveUpBefore(m_jobs.end());
    }
    for (std::thread& thread : m_threads)
        thread.join();
}

bool ReadAhead::begin(std::size_t place, std::int64_t afterRowID)
{
    std::unique_lock lock(m_mutex);
    giveUpBefore(m_jobs.lower_bound(place));
    if (m_wanted == m_jobs.end() || m_wanted->first != place)
        return false;
    const Job& job = m_wanted->second;
    if (job.chat.afterRowID != afterRowID)
        return false;
    waitForBlock(lock, job);
    return job.state == State::Complete || (job.state == State::Open && !job.blocks.empty());
}

void ReadAhead::forEachBlock(const BlockVisitor& visit)
{
    while (auto block = take(m_wanted->second))
        visit(*std::move(block));
}

std::size_t ReadAhead::bytes() const
{
    const std::lock_guard lock(m_mutex);
    return m_bytes;
}

/// The next block, or nothing at the end.
std::optional<RecordBlock> ReadAhead::take(Job& job)
{
    std::unique_lock lock(m_mutex);
    waitForBlock(lock, job);
    if (job.blocks.empty() && job.state == State::Complete)
        return std::nullopt;
    if (job.blocks.empty())
        throw Failed();
    RecordBlock block = std::move(job.blocks.front());
    job.blocks.pop_front();
    job.bytes -= block.lines.capacity();
    m_bytes -= block.lines.capacity();
    m_changed.notify_all();
    return block;
}

/// Waits until the chat has a block, or no thread adds one any more.
void ReadAhead::waitForBlock(std::unique_lock<std::mutex>& lock, const Job& job)
{
    m_changed.wait(lock,
        [&] { return !job.blocks.empty() || job.state != State::Open || m_activeThreads == 0; });
}

void ReadAhead::giveUpBefore(Jobs::iterator end)
{
    for (; m_wanted != end; ++m_wanted)
        giveUp(m_wanted->second);
    m_changed.notify_all();
}

void ReadAhead::giveUp(Job& job)
{
    job.isGivenUp = true;
    m_bytes -= std::exchange(job.bytes, 0);
    job.blocks.clear();
}

void ReadAhead::run()
{
    try {
        readAll();
    } catch (const std::exception&) {
        // The database cannot be opened here. The calling thread reads what no thread has read.
    }
    const std::lock_guard lock(m_mutex);
    m_activeThreads -= 1;
    m_changed.notify_all();
}

void ReadAhead::readAll()
{
    MessagesDB db(m_database);
    while (Job* const job = nextJob())
        read(*job, db);
}

/// The next chat that no thread has read yet. Null at the end.
ReadAhead::Job* ReadAhead::nextJob()
{
    const std::lock_guard lock(m_mutex);
    while (m_nextToRead != m_jobs.end() && m_nextToRead->second.isGivenUp)
        ++m_nextToRead;
    return m_nextToRead == m_jobs.end() ? nullptr : &(m_nextToRead++)->second;
}

void ReadAhead::read(Job& job, MessagesDB& db)
{
    State state = State::Failed;
    try {
        db.interruptWhen(job.isGivenUp);
        forEachRecordBlock(db, *job.chat.chat, job.chat.title, m_names, job.chat.afterRowID,
            [&](RecordBlock block) { add(job, std::move(block)); });
        state = State::Complete;
    } catch (const GivenUp&) {
    } catch (const std::exception&) {
        // The calling thread reads the chat again and reports what is wrong.
    }
    const std::lock_guard lock(m_mutex);
    job.state = state;
    m_changed.notify_all();
}

void ReadAhead::add(Job& job, RecordBlock block)
{
    const std::size_t bytes = block.lines.capacity();
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return job.isGivenUp || hasRoom(job, bytes); });
    if (job.isGivenUp)
        throw GivenUp();
    job.bytes += bytes;
    m_bytes += bytes;
    job.blocks.push_back(std::move(block));
    m_changed.notify_all();
}

/// The chat that the export waits for has a share of its own, so that later chats cannot block it.
bool ReadAhead::hasRoom(const Job& job, std::size_t bytes) const
{
    constexpr std::size_t share = std::size_t{1} << 20U; // several blocks
    const bool isWanted = m_wanted != m_jobs.end() && &m_wanted->second == &job;
    return isWanted ? job.blocks.empty() || job.bytes + bytes <= share
                    : m_bytes + bytes + share <= m_maxBytes;
}

} // namespace korvane
