#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// Strict reading of JSON: invalid JSON, a required member that is missing, and a value of another
/// type than asked for throw Malformed.
namespace JsonReader {

using Value = rapidjson::Value;

struct Malformed { };

/// Parses one whole JSON text in valid UTF-8, with or without a byte order mark; throws Malformed
/// for anything else. Accepts nesting of any depth, numbers of any size and escapes of lone
/// surrogates: integer() and text() reject such a value when it is read. Only 64-bit integers keep
/// their value; other numbers may change.
rapidjson::Document parsed(std::string_view json);

const Value& object(const Value& value);

/// A 64-bit integer in any form of JSON: 100, 100.0 or 1e2.
std::int64_t integer(const Value& value);
std::string text(const Value& value);

/// The member `key` of an object that must have it.
const Value& required(const Value& object, const char* key);

/// The member `key`, read by `read`; nothing if it is missing or null.
template <typename Read>
auto optional(const Value& object, const char* key, Read read)
{
    const auto member = object.FindMember(key);
    const bool present = member != object.MemberEnd() && !member->value.IsNull();
    return present ? std::optional(read(member->value)) : std::nullopt;
}

} // namespace JsonReader

} // namespace korvane
