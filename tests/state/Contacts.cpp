#include "state/Contacts.h"

#include <algorithm>

namespace korvane {

void Contacts::add(const std::string& handle, const std::string& name)
{
    const std::lock_guard lock(m_lock);
    m_names.map[ContactNames::normalize(handle)] = name;
}

ContactNames Contacts::load()
{
    std::unique_lock lock(m_lock);
    ++m_loads;
    m_mostAtOnce = std::max(m_mostAtOnce, ++m_active);
    m_released.wait(lock, [this] { return !m_held; });
    --m_active;
    return m_names;
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

void Contacts::release()
{
    const std::lock_guard lock(m_lock);
    m_held = false;
    m_released.notify_all();
}

} // namespace korvane
