#include "export/JsonReader.h"

namespace korvane {

rapidjson::Document JsonReader::parsed(std::string_view json)
{
    // Iterative: a file of a million brackets must not exhaust the stack.
    constexpr unsigned flags
        = rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag;
    rapidjson::Document document;
    if (document.Parse<flags>(json.data(), json.size()).HasParseError())
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
    return {value.GetString(), value.GetStringLength()};
}

const JsonReader::Value& JsonReader::required(const Value& object, const char* key)
{
    const auto member = object.FindMember(key);
    if (member == object.MemberEnd())
        throw Malformed();
    return member->value;
}

} // namespace korvane
