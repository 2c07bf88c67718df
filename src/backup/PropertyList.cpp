#include "backup/PropertyList.h"

#include "backup/PropertyListLimits.h"

#include <plist/plist.h>

namespace korvane {

namespace {

bool hasType(plist_t node, plist_type type)
{
    return node && ::plist_get_node_type(node) == type;
}

} // namespace

PropertyList::Value PropertyList::Value::operator[](const char* key) const
{
    return Value(hasType(m_node, PLIST_DICT) ? ::plist_dict_get_item(m_node, key) : nullptr);
}

PropertyList::Value PropertyList::Value::at(std::uint64_t index) const
{
    const bool exists = hasType(m_node, PLIST_ARRAY) && index < ::plist_array_get_size(m_node);
    return Value(
        exists ? ::plist_array_get_item(m_node, static_cast<std::uint32_t>(index)) : nullptr);
}

std::optional<std::string_view> PropertyList::Value::text() const
{
    if (!hasType(m_node, PLIST_STRING))
        return std::nullopt;
    std::uint64_t size = 0;
    const char* bytes = ::plist_get_string_ptr(m_node, &size);
    return bytes ? std::string_view(bytes, size) : std::string_view();
}

std::optional<std::string_view> PropertyList::Value::data() const
{
    if (!hasType(m_node, PLIST_DATA))
        return std::nullopt;
    std::uint64_t size = 0;
    const char* bytes = ::plist_get_data_ptr(m_node, &size);
    return bytes ? std::string_view(bytes, size) : std::string_view();
}

std::optional<bool> PropertyList::Value::boolean() const
{
    if (!hasType(m_node, PLIST_BOOLEAN))
        return std::nullopt;
    std::uint8_t value = 0;
    ::plist_get_bool_val(m_node, &value);
    return value != 0;
}

std::optional<std::uint64_t> PropertyList::Value::integer() const
{
    if (!hasType(m_node, PLIST_UINT))
        return std::nullopt;
    std::uint64_t value = 0;
    ::plist_get_uint_val(m_node, &value);
    return value;
}

std::optional<std::chrono::sys_seconds> PropertyList::Value::date() const
{
    if (!hasType(m_node, PLIST_DATE))
        return std::nullopt;
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    ::plist_get_date_val(m_node, &seconds, &microseconds);
    constexpr std::chrono::sys_days start{std::chrono::year(2001) / 1 / 1};
    return start + std::chrono::seconds(seconds);
}

std::optional<std::uint64_t> PropertyList::Value::reference() const
{
    if (!hasType(m_node, PLIST_UID))
        return std::nullopt;
    std::uint64_t value = 0;
    ::plist_get_uid_val(m_node, &value);
    return value;
}

bool PropertyList::Value::isDictionary() const
{
    return hasType(m_node, PLIST_DICT);
}

std::optional<PropertyList> PropertyList::parse(std::string_view bytes)
{
    if (!isModest(bytes))
        return std::nullopt;
    plist_t root = nullptr;
    const auto size = static_cast<std::uint32_t>(bytes.size());
    if (isBinaryPropertyList(bytes))
        ::plist_from_bin(bytes.data(), size, &root);
    else
        ::plist_from_xml(bytes.data(), size, &root);
    return root ? std::optional(PropertyList(root)) : std::nullopt;
}

void PropertyList::Free::operator()(void* node) const
{
    ::plist_free(node);
}

} // namespace korvane
