#include "messages/GuidMap.h"

#include "text/Utf8.h"

#include <cstring>
#include <utility>

namespace korvane {

namespace {

std::string_view copied(std::string_view text, std::pmr::memory_resource& memory)
{
    auto* copy = static_cast<char*>(memory.allocate(text.size() + 1, 1));
    std::memcpy(copy, text.data(), text.size());
    return {copy, text.size()};
}

/// The text after the first slash of "p:N/GUID". If nothing follows the slash, the text before it;
/// if there is no slash, the whole text.
std::string_view withoutPart(std::string_view guid)
{
    const std::size_t slash = guid.find('/');
    if (slash == std::string_view::npos)
        return guid;
    const std::string_view last = guid.substr(slash + 1);
    return last.empty() ? guid.substr(0, slash) : last;
}

} // namespace

GuidMap::GuidMap(std::optional<Sqlite::Statement> rows) : m_rows(std::move(rows)) { }

std::optional<std::int64_t> GuidMap::target(std::optional<std::string_view> guid)
{
    if (!guid || guid->empty())
        return std::nullopt;
    if (!isValidUtf8(*guid))
        return target(repairedUtf8(*guid));
    load();
    if (const auto exact = find(*guid))
        return exact;
    if (guid->starts_with("p:"))
        return find(withoutPart(*guid));
    if (guid->starts_with("bp:"))
        return find(guid->substr(3));
    return std::nullopt;
}

void GuidMap::load()
{
    if (!m_rows)
        return;
    while (m_rows->step()) {
        const auto guid = m_rows->text(0);
        if (!guid)
            continue;
        const auto key
            = isValidUtf8(*guid) ? copied(*guid, m_memory) : copied(repairedUtf8(*guid), m_memory);
        m_rowIDs[key] = m_rows->integer(1);
    }
    m_rows.reset();
}

std::optional<std::int64_t> GuidMap::find(std::string_view guid) const
{
    const auto found = m_rowIDs.find(guid);
    return found == m_rowIDs.end() ? std::nullopt : std::optional(found->second);
}

} // namespace korvane
