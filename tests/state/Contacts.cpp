#include "state/Contacts.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace korvane {

void Contacts::add(const std::string& handle, const std::string& name)
{
    const std::lock_guard lock(m_lock);
    m_names.map[ContactNames::normalize(handle)] = name;
}

LoadedNames Contacts::load(const AccessPrompt& prompt)
{
    std::unique_lock lock(m_lock);
    ++m_loads;
    m_mostAtOnce = std::max(m_mostAtOnce, ++m_active);
    const bool isAnswered = await(lock, prompt);
    --m_active;
    if (m_partly || !isAnswered) {
        return {.names = m_partly.value_or(ContactNames()),
            .reading
            = {.outcome = ContactOutcome::Unanswered, .silent = "the test's address book"}};
    }
    return {.names = m_names, .reading = {.outcome = ContactOutcome::Complete}};
}

/// False if `prompt` has cancelled the wait.
bool Contacts::await(std::unique_lock<std::mutex>& lock, const AccessPrompt& prompt)
{
    if (!m_asks) {
        m_released.wait(lock, [this] { return !m_held; });
        return true;
    }
    prompt.onOpen();
    while (m_held && !prompt.isCancelled())
        m_released.wait_for(lock, std::chrono::milliseconds(10));
    return !m_held;
}

void Contacts::silence(ContactNames some)
{
    const std::lock_guard lock(m_lock);
    m_partly = std::move(some);
}

void Contacts::answer()
{
    const std::lock_guard lock(m_lock);
    m_partly.reset();
}

int Contacts::loads() const
{
    const std::lock_guard lock(m_lock);
    return m_loads;
}

std::size_t Contacts::mostAtOnce() const
{
    const std::lock_guard lock(m_lock);
    return m_mostAtOnce;
}

void Contacts::hold()
{
    const std::lock_guard lock(m_lock);
    m_held = true;
}

void Contacts::ask()
{
    const std::lock_guard lock(m_lock);
    m_held = true;
    m_asks = true;
}

void Contacts::release()
{
    const std::lock_guard lock(m_lock);
    m_held = false;
    m_asks = false;
    m_released.notify_all();
}

} // namespace korvane
