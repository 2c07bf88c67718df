#include "server/Http.h"

#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;
using namespace std::string_literals;

namespace {

using Text = std::optional<std::string>;
using Number = std::optional<std::int64_t>;

} // namespace

/// Splitting a request target into path, query and parameters.
class RequestTargetTest : public QObject {
    Q_OBJECT

private slots:
    void isTakenApartAsAUrl_data()
    {
        QTest::addColumn<std::string>("target");
        QTest::addColumn<std::string>("path");
        QTest::addColumn<Text>("query");
        const auto row = [](const char* name, const char* target, const char* path,
                             const Text& query = std::nullopt) {
            QTest::newRow(name) << std::string(target) << std::string(path) << query;
        };
        row("a path", "/v1/manifest", "/v1/manifest");
        row("a path and a query", "/v1/files/a%20b?offset=5", "/v1/files/a%20b", "offset=5");
        row("the root", "/", "/");
        row("escapes stay as they are", "/%2f%2F%41?%2f%41", "/%2f%2F%41", "%2f%41");
        row("escapes that are no UTF-8", "/%ff%00", "/%ff%00");
        row("an empty query", "/a?", "/a", "");
        row("two question marks", "/a?b?c", "/a", "b?c");
        row("a fragment", "/a#b", "/a");
        row("an empty fragment", "/a#", "/a");
        row("a query and a fragment", "/a?b#c", "/a", "b");
        row("a question mark in a fragment", "/a#b?c", "/a");
        row("slashes in a query", "/a?b/c", "/a", "b/c");
        row("two slashes", "//host/a", "//host/a");
        row("dots stay", "/a/../b/./c", "/a/../b/./c");
        row("all that a path may have", "/aZ09-._~!$&'()*+,;=:@", "/aZ09-._~!$&'()*+,;=:@");
        row("no slash: more of the host", "v1/manifest", "/manifest");
        row("no slash at all", "v1", "");
        row("nothing but a query", "?a", "", "a");
        row("nothing but a fragment", "#a", "");
        row("an asterisk", "*", "");
        row("a port", ":80/x", "/x");
        row("an empty port", ":/x", "/x");
        row("a user", "@host/x", "/x");
        row("a user, a password and a port", "u:p:q@host:80/x?y", "/x", "y");
        row("an escape in the host", "%41/x", "/x");
        row("an absolute target", "http://host/x", "//host/x");
        row("an at sign in the path", "/a@b:c/d", "/a@b:c/d");
    }

    void isTakenApartAsAUrl()
    {
        QFETCH(std::string, target);
        QFETCH(std::string, path);
        QFETCH(Text, query);
        const auto taken = RequestTarget::fromText(target);
        QCOMPARE(taken.path, path);
        QCOMPARE(taken.query, query);
    }

    void whatMakesNoUrlIsAllPath_data()
    {
        QTest::addColumn<std::string>("target");
        for (const char* target :
            {"/a%", "/a%2", "/a%zz?offset=5", "/a%4g", "/%-5", "/%+5", "/%0x5", "/% 5", "/a?b%",
                "/a?%zz#c", "/a#%zz", "/a#b#c", "/a[1]?b", "/a?b[]=1", "/a\"b?c", "/a<b>?c",
                "/a\\b?c", "/a^b?c", "/a`b?c", "/a{b}?c", "/a|b?c", "/a b?c", "/\u00e9?b",
                "/a?\u00e9", "/a#\u00e9", "\u00e9/a?b", "/\uFFFD?b", ":x/a?b", ":80:80/a?b",
                ":-1/a?b", ":\u0663/a?b", "@a@b/a?b", "[/a?b", "%/a?b", "x%zz@host/a?b"})
            QTest::newRow(target) << std::string(target);
        QTest::newRow("a tab") << "/a\tb?c"s;
        QTest::newRow("a line feed") << "/a\nb?c"s;
        QTest::newRow("a delete character") << "/a\x7f?b"s;
        QTest::newRow("a zero byte") << "/a\0b?c"s;
    }

    void whatMakesNoUrlIsAllPath()
    {
        QFETCH(std::string, target);
        const auto taken = RequestTarget::fromText(target);
        QCOMPARE(taken.path, target);
        QCOMPARE(taken.query, Text());
    }

    void theFirstParameterOfANameCounts_data()
    {
        QTest::addColumn<std::string>("query");
        QTest::addColumn<Text>("value");
        const auto row = [](const char* query, const Text& value) {
            QTest::newRow(query) << std::string(query) << value;
        };
        row("offset=5", "5");
        row("a=1&offset=5&b=2", "5");
        row("offset=5&offset=6", "5");
        row("offset=&offset=6", "");
        row("offset&offset=6", std::nullopt);
        row("offset", std::nullopt);
        row("offset=", "");
        row("offset==", "=");
        row("offset=a=b", "a=b");
        row("&&offset=5", "5");
        row("offset=5&", "5");
        row("", std::nullopt);
        row("&", std::nullopt);
        row("=5", std::nullopt);
        row("a=offset", std::nullopt);
        row("Offset=5", std::nullopt);
        row("offset2=5", std::nullopt);
        row("offse=5", std::nullopt);
        row("a=1;offset=5", std::nullopt);
        row("offset=5;a=1", "5;a=1");
        row("offset=5?b", "5?b");
        row("%6F%66fset=5", "5");
        row("offset%3D1=5", std::nullopt);
        row("offset%00=5", std::nullopt);
        row("offset=%35", "5");
        row("offset=%2B5", "+5");
        row("offset=+5", "+5");
        row("offset=1+5", "1+5");
        row("offset=%20", " ");
        row("offset=a%26b", "a&b");
        row("offset=%C3%A9", "\u00e9");
        row("offset=%ff", std::nullopt);
        row("offset=%ff&offset=5", std::nullopt);
        row("%ff=1&offset=5", "5");
        row("a=%ff&offset=5", "5");
    }

    void theFirstParameterOfANameCounts()
    {
        QFETCH(std::string, query);
        QFETCH(Text, value);
        QCOMPARE(RequestTarget::fromText("/a?" + query).parameter("offset"), value);
    }

    void aTargetWithoutAQueryHasNoParameters()
    {
        QCOMPARE(RequestTarget::fromText("/a").parameter("offset"), Text());
        QCOMPARE(RequestTarget::fromText("/a%?offset=5").parameter("offset"), Text());
        QCOMPARE(RequestTarget::fromText("/a#?offset=5").parameter("offset"), Text());
    }

    void escapesAreResolved_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<Text>("decoded");
        const auto row = [](const char* text, const Text& decoded) {
            QTest::newRow(text) << std::string(text) << decoded;
        };
        row("", "");
        row("plain", "plain");
        row("a%20b", "a b");
        row("%2e%2E%2f", "../");
        row("%252f", "%2f");
        row("a+b", "a+b");
        row("100%25", "100%");
        row("%00", "\0"s);
        row("%C3%A9", "\u00e9");
        row("%f0%9f%98%80", "\U0001F600");
        row("\u00e9", "\u00e9");
        for (const char* malformed : {"%", "a%", "%2", "%zz", "%4g", "%g4", "%-1", "%+1", "% 1",
                 "%%41", "%ff", "%c3", "%C3x", "%C0%AF", "%ED%A0%80", "%F4%90%80%80", "\xFF"})
            row(malformed, std::nullopt);
    }

    void escapesAreResolved()
    {
        QFETCH(std::string, text);
        QFETCH(Text, decoded);
        QCOMPARE(percentDecoded(text), decoded);
    }

    void aNumberIsDecimalAndWhole_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<Number>("number");
        const auto row = [](const char* text, const Number& number) {
            QTest::newRow(text) << std::string(text) << number;
        };
        row("0", 0);
        row("5", 5);
        row("+5", 5);
        row("-1", -1);
        row("-0", 0);
        row("+0", 0);
        row("007", 7);
        row("9223372036854775807", std::numeric_limits<std::int64_t>::max());
        row("+9223372036854775807", std::numeric_limits<std::int64_t>::max());
        row("-9223372036854775808", std::numeric_limits<std::int64_t>::min());
        row("0000000000000000000000000000005", 5);
        for (const char* other :
            {"9223372036854775808", "-9223372036854775809", "18446744073709551616",
                "99999999999999999999999999", "", "+", "-", "+-5", "-+5", "++5", "--5", "5 ", " 5",
                "5x", "abc", "0x5", "5e1", "5.0", "1_000", "1,000", "\u0663", "\uff15", "\u22125"})
            row(other, std::nullopt);
        QTest::newRow("a line feed behind it") << "5\n"s << Number();
        QTest::newRow("a tab in front of it") << "\t5"s << Number();
        QTest::newRow("a zero byte behind it") << "5\0"s << Number();
    }

    void aNumberIsDecimalAndWhole()
    {
        QFETCH(std::string, text);
        QFETCH(Number, number);
        QVERIFY(decimal(text) == number);
    }
};

QTEST_GUILESS_MAIN(RequestTargetTest)
#include "RequestTargetTest.moc"
