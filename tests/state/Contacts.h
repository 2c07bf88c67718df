#pragma once

#include "contacts/ContactNames.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

namespace korvane {

/// Invented contacts. A test can add some, count how often they are loaded, and block loads.
/// Thread-safe: the data is guarded by `m_lock`.
class Contacts {
public:
    void add(const std::string& handle, const std::string& name);

    /// Returns a copy of the contacts; none if they are silent. Blocks between hold() and
    /// release(). While it blocks after ask(), `prompt` is told and may cancel the wait.
    LoadedNames load(const AccessPrompt& prompt = {});

    /// From now on the contacts do not answer, or do so again. `some` are still read.
    void silence(ContactNames some = {});
    void answer();

    int loads() const; ///< calls of load() begun so far
    std::size_t mostAtOnce() const; ///< most calls of load() at the same time

    /// Blocks load() until release().
    void hold();

    /// As hold(), as if the system asked the user for access.
    void ask();
    void release();

private:
    bool await(std::unique_lock<std::mutex>& lock, const AccessPrompt& prompt);

    mutable std::mutex m_lock;
    std::condition_variable m_released;
    ContactNames m_names;
    int m_loads = 0;
    std::size_t m_active = 0;
    std::size_t m_mostAtOnce = 0;
    bool m_held = false;
    bool m_asks = false;
    std::optional<ContactNames> m_partly; ///< what can be read while the contacts are silent
};

} // namespace korvane
