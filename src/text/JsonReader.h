#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// Reading JSON strictly: whatever is not as asked for throws Malformed.
namespace JsonReader {

using Value = rapidjson::Value;

struct Malformed { };

/// `json` must be one whole JSON text in valid UTF-8. Nothing that JSON allows in a value is
/// refused before the value is asked for: not nesting of any depth, nor numbers of any size, nor an
/// escape of half a surrogate pair. Of numbers, only integers of 64 bits keep their value.
rapidjson::Document parsed(std::string_view json);

const Value& object(const Value& value);

/// An integer in whatever form JSON writes it: 100, 100.0 or 1e2.
std::int64_t integer(const Value& value);
std::string text(const Value& value);

/// The member `key` of an object that must have it.
const Value& required(const Value& object, const char* key);

/// The member `key`, read by `read`; nothing where it is missing or null.
template <typename Read>
auto optional(const Value& object, const char* key, Read read)
{
    const auto member = object.FindMember(key);
    const bool present = member != object.MemberEnd() && !member->value.IsNull();
    return present ? std::optional(read(member->value)) : std::nullopt;
}

} // namespace JsonReader

} // namespace korvane
