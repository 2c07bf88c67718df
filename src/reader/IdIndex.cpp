#include "reader/IdIndex.h"

#include <charconv>

namespace korvane {

std::int64_t IdIndex::rowIn(std::string_view id)
{
    std::int64_t row = 0;
    const std::string_view digits = id.substr(id.rfind(':') + 1); // npos + 1 is 0
    const char* const end = digits.data() + digits.size();
    const auto [last, error] = std::from_chars(digits.data(), end, row);
    return error == std::errc() && last == end ? row : 0;
}

std::optional<IdIndex::Place> IdIndex::find(std::string_view id) const
{
    const Key wanted = keyOf(id, 0);
    const auto found = std::ranges::lower_bound(m_keys, wanted);
    const bool isThere = found != m_keys.end() && found->hasIdOf(wanted);
    return isThere ? std::optional(found->place) : std::nullopt;
}

} // namespace korvane
