#pragma once

#include "contacts/ContactNames.h"

#include <condition_variable>
#include <mutex>
#include <string>

namespace korvane {

/// Invented contacts that a test may change, count the readings of, and keep from being read. May
/// be used from any thread.
class Contacts {
public:
    void add(const std::string& handle, const std::string& name);

    /// Reads them; waits while they are held.
    ContactNames load();

    int loads() const; ///< readings that were begun
    std::size_t mostAtOnce() const; ///< of readings that overlapped

    /// From now on readings wait until release().
    void hold();
    void release();

private:
    mutable std::mutex m_lock;
    std::condition_variable m_released;
    ContactNames m_names;
    int m_loads = 0;
    std::size_t m_active = 0;
    std::size_t m_mostAtOnce = 0;
    bool m_held = false;
};

} // namespace korvane
