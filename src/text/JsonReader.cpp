#include "text/JsonReader.h"

#include "text/JsonNormalizer.h"
#include "text/Utf8.h"

namespace korvane {

rapidjson::Document JsonReader::parsed(std::string_view json)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (json.starts_with(byteOrderMark))
        json.remove_prefix(byteOrderMark.size());
    // RapidJSON would take a zero byte for the end of the text.
    if (!isValidUtf8(json) || json.find('\0') != std::string_view::npos)
        throw Malformed();
    // The iterative parser does not recurse, so a million nested brackets cannot exhaust the stack.
    // RapidJSON parses a zero-terminated string much faster than one with a length.
    const std::string text = normalizedJson(json);
    rapidjson::Document document;
    if (document.Parse<rapidjson::kParseIterativeFlag>(text.c_str()).HasParseError())
        throw Malformed();
    return document;
}

const JsonReader::Value& JsonReader::object(const Value& value)
{
    if (!value.IsObject())
        throw Malformed();
    return value;
}

std::int64_t JsonReader::integer(const Value& value)
{
    if (!value.IsInt64())
        throw Malformed();
    return value.GetInt64();
}

std::string JsonReader::text(const Value& value)
{
    if (!value.IsString())
        throw Malformed();
    std::string text(value.GetString(), value.GetStringLength());
    if (!isValidUtf8(text)) // a lone surrogate, see normalizedJson()
        throw Malformed();
    return text;
}

const JsonReader::Value& JsonReader::required(const Value& object, const char* key)
{
    const auto member = object.FindMember(key);
    if (member == object.MemberEnd())
        throw Malformed();
    return member->value;
}

} // namespace korvane
