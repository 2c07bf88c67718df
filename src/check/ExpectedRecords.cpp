#include "check/ExpectedRecords.h"

#include <algorithm>
#include <functional>
#include <numeric>

namespace korvane {

void ExpectedRecords::reserve(std::size_t count)
{
    m_entries.reserve(count);
    m_taken.reserve(count);
}

void ExpectedRecords::add(std::int64_t rowID, std::string_view line)
{
    m_entries.push_back({rowID, std::hash<std::string_view>()(line)});
    m_taken.push_back(false);
}

std::optional<std::size_t> ExpectedRecords::withLine(std::string_view line)
{
    const std::size_t hash = std::hash<std::string_view>()(line);
    const bool follows = m_next < m_entries.size() && m_entries[m_next].hash == hash;
    const auto found = follows ? std::optional(m_next) : find(m_byHash, &Entry::hash, hash);
    if (found)
        m_next = *found + 1;
    return found;
}

std::optional<std::size_t> ExpectedRecords::withRowID(std::int64_t rowID)
{
    return find(m_byRowID, &Entry::rowID, rowID);
}

bool ExpectedRecords::take(std::size_t index)
{
    const bool first = !m_taken[index];
    m_taken[index] = true;
    return first;
}

template <typename Value>
std::optional<std::size_t> ExpectedRecords::find(Index& index, Value Entry::*member, Value value)
{
    const auto valueAt = [&](std::uint32_t position) { return m_entries[position].*member; };
    if (index.size() != m_entries.size()) {
        index.resize(m_entries.size());
        std::iota(index.begin(), index.end(), 0U);
        std::sort(index.begin(), index.end(), [&](std::uint32_t left, std::uint32_t right) {
            return std::pair(valueAt(left), left) < std::pair(valueAt(right), right);
        });
    }
    const auto first = std::lower_bound(index.begin(), index.end(), value,
        [&](std::uint32_t position, auto wanted) { return valueAt(position) < wanted; });
    auto found = first;
    while (found != index.end() && valueAt(*found) == value && m_taken[*found])
        ++found;
    if (found == index.end() || valueAt(*found) != value)
        found = first;
    const bool exists = found != index.end() && valueAt(*found) == value;
    return exists ? std::optional<std::size_t>(*found) : std::nullopt;
}

} // namespace korvane
