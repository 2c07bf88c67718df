#pragma once

#include "contacts/ContactNames.h"

#include <condition_variable>
#include <mutex>
#include <string>

namespace korvane {

/// Invented contacts. A test can add some, count how often they are loaded, and block loads.
/// Thread-safe: the data is guarded by `m_lock`.
class Contacts {
public:
    void add(const std::string& handle, const std::string& name);

    /// Returns a copy of the contacts. Blocks between hold() and release().
    ContactNames load();

    int loads() const; ///< calls of load() begun so far
    std::size_t mostAtOnce() const; ///< most calls of load() at the same time

    /// Blocks load() until release().
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
