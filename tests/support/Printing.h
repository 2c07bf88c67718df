#pragma once

#include <QtTest/QTest>

#include <optional>
#include <string>
#include <string_view>

/// Lets a failing QCOMPARE print the standard strings, which hold UTF-8 here.
namespace QTest {

template <>
inline char* toString(const std::string& text)
{
    return qstrdup(text.c_str());
}

template <>
inline char* toString(const std::string_view& text)
{
    return qstrdup(std::string(text).c_str());
}

template <>
inline char* toString(const std::optional<std::string>& text)
{
    return qstrdup(text ? text->c_str() : "(absent)");
}

} // namespace QTest
