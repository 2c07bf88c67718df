#include "text/Json.h"
#include "support/Printing.h"
#include "text/JsonReader.h"

#include <array>
#include <limits>
#include <vector>

using namespace std::string_literals;

namespace korvane {

namespace {

void row(const char* name, const std::string& text, const std::string& json)
{
    QTest::newRow(name) << text << json;
}

bool isAccepted(const std::string& json)
{
    try {
        JsonReader::parsed(json);
        return true;
    } catch (const JsonReader::Malformed&) {
        return false;
    }
}

std::string textIn(const std::string& json)
{
    try {
        return JsonReader::text(JsonReader::parsed(json));
    } catch (const JsonReader::Malformed&) {
        return "(malformed)";
    }
}

} // namespace

/// Writing texts and objects as JSON, and strict parsing.
class JsonTest : public QObject {
    Q_OBJECT

private slots:
    void writesTexts_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<std::string>("json");
        row("nothing", "", R"("")");
        row("plain", "Hello", R"("Hello")");
        row("quotation marks", R"(say "hi")", "\"say \\\"hi\\\"\"");
        row("backslashes", R"(C:\temp\)", R"("C:\\temp\\")");
        row("a backslash before a quotation mark", R"(\")", "\"\\\\\\\"\"");
        row("slashes stay", "a/b", R"("a/b")");
        row("line breaks", "one\ntwo\r\n", R"("one\ntwo\r\n")");
        row("a text that is only an escape", "\t", R"("\t")");
        row("a zero byte inside", "a\0b"s, R"("a\u0000b")");
        row("delete stays", "a\x7f", "\"a\x7f\"");
        row("C1 control characters stay", "\u0085\u009f", "\"\u0085\u009f\"");
        row("line and paragraph separators stay", "\u2028\u2029", "\"\u2028\u2029\"");
        row("emoji stay", "👩‍👩‍👧 🇩🇪 👍🏽",
            "\"👩‍👩‍👧 🇩🇪 👍🏽\"");
        row("right to left stays", "שלום عالم", "\"שלום عالم\"");
        row("noncharacters stay", "\uffff\U0010ffff", "\"\uffff\U0010ffff\"");
    }

    void writesTexts()
    {
        QFETCH(std::string, text);
        QFETCH(std::string, json);
        QCOMPARE(Json::quoted(text), json);
        QCOMPARE(Json::escaped(text), json.substr(1, json.size() - 2));
    }

    void escapesEveryControlCharacter()
    {
        constexpr std::array<const char*, 32> escapes{"\\u0000", "\\u0001", "\\u0002", "\\u0003",
            "\\u0004", "\\u0005", "\\u0006", "\\u0007", "\\b", "\\t", "\\n", "\\u000b", "\\f",
            "\\r", "\\u000e", "\\u000f", "\\u0010", "\\u0011", "\\u0012", "\\u0013", "\\u0014",
            "\\u0015", "\\u0016", "\\u0017", "\\u0018", "\\u0019", "\\u001a", "\\u001b", "\\u001c",
            "\\u001d", "\\u001e", "\\u001f"};
        for (std::size_t i = 0; i < escapes.size(); ++i) {
            const std::string character(1, static_cast<char>(i));
            QCOMPARE(Json::escaped(character), std::string(escapes[i]));
            QCOMPARE(Json::escaped("a" + character + "b"), "a" + std::string(escapes[i]) + "b");
        }
    }

    void leavesAllOtherAsciiAsItIs()
    {
        for (char c = 0x20; c > 0; ++c) {
            if (c != '"' && c != '\\')
                QCOMPARE(Json::escaped(std::string(1, c)), std::string(1, c));
        }
    }

    void escapedControlCharactersTakeSixBytes()
    {
        const std::string worst(1000, '\x01');
        QCOMPARE(Json::escaped(worst).size(), 6 * worst.size());
    }

    void escapesSlashesWhereAsked_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<std::string>("json");
        row("one", "a/b", R"("a\/b")");
        row("several in a row", "//a//", R"("\/\/a\/\/")");
        row("behind a backslash", R"(\/)", R"("\\\/")");
        row("none", "a", R"("a")");
        row("with other escapes", "\"/\n/", "\"\\\"\\/\\n\\/\"");
    }

    void escapesSlashesWhereAsked()
    {
        QFETCH(std::string, text);
        QFETCH(std::string, json);
        QCOMPARE(Json::quoted(text, Json::Slash::Escaped), json);
    }

    void escapesAMillionSlashesInNoTime()
    {
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(Json::escaped(std::string(1'000'000, '/'), Json::Slash::Escaped).size(),
            std::size_t{2'000'000});
        QVERIFY2(timer.elapsed() < 5000, "a time that grows with the square would be minutes");
    }

    void writesMembersInTheirOrder()
    {
        QCOMPARE(Json::Object().finished(), std::string("{}"));
        const std::string json = Json::Object()
                                     .text("b", "x/\"")
                                     .number("a", -1)
                                     .boolean("yes", true)
                                     .boolean("no", false)
                                     .value("list", "[1]")
                                     .finished();
        QCOMPARE(json,
            std::string(R"({"b":)"
                        "\"x/\\\"\""
                        R"(,"a":-1,"yes":true,"no":false,"list":[1]})"));
    }

    void writesNumbersInFull_data()
    {
        QTest::addColumn<qint64>("number");
        QTest::addColumn<std::string>("json");
        QTest::newRow("zero") << qint64{0} << R"({"n":0})"s;
        QTest::newRow("above 2^53") << qint64{9007199254740993} << R"({"n":9007199254740993})"s;
        QTest::newRow("largest") << std::numeric_limits<qint64>::max()
                                 << R"({"n":9223372036854775807})"s;
        QTest::newRow("smallest") << std::numeric_limits<qint64>::min()
                                  << R"({"n":-9223372036854775808})"s;
    }

    void writesNumbersInFull()
    {
        QFETCH(qint64, number);
        QFETCH(std::string, json);
        QCOMPARE(Json::Object().number("n", number).finished(), json);
    }

    void writesArrays()
    {
        const auto digits = [](int number) { return std::to_string(number); };
        QCOMPARE(Json::array(std::vector<int>{}, digits), std::string("[]"));
        QCOMPARE(Json::array(std::vector{1}, digits), std::string("[1]"));
        QCOMPARE(Json::array(std::vector{1, 2, 3}, digits), std::string("[1,2,3]"));
    }

    void refusesWhatIsNoJson_data()
    {
        QTest::addColumn<std::string>("json");
        QTest::newRow("nothing") << ""s;
        QTest::newRow("blanks only") << " \n\t "s;
        QTest::newRow("a word") << "chats"s;
        QTest::newRow("a comma too many") << R"({"a":1,})"s;
        QTest::newRow("a comma too few") << R"({"a":1 "b":2})"s;
        QTest::newRow("single quotation marks") << "{'a':1}"s;
        QTest::newRow("a comment") << "{}//"s;
        QTest::newRow("two values") << "{}{}"s;
        QTest::newRow("text behind the end") << "{}x"s;
        QTest::newRow("a zero byte behind the end") << "{}\0"s;
        QTest::newRow("a zero byte that hides more") << "{}\0garbage"s;
        QTest::newRow("a zero byte in a text") << "\"a\0b\""s;
        QTest::newRow("a line break in a text") << "\"a\nb\""s;
        QTest::newRow("NaN") << "NaN"s;
        QTest::newRow("a leading zero") << "01"s;
        QTest::newRow("an unknown escape") << R"("\x41")"s;
        QTest::newRow("half of a byte order mark") << "\xEF{}"s;
        QTest::newRow("the other half") << "\xBB\xBF{}"s;
        QTest::newRow("two byte order marks") << "\xEF\xBB\xBF\xEF\xBB\xBF{}"s;
        QTest::newRow("invalid UTF-8 in a text") << "\"\xC3\""s;
        QTest::newRow("an overlong slash") << "\"\xC0\xAF\""s;
        QTest::newRow("a surrogate in UTF-8") << "\"\xED\xA0\x80\""s;
        QTest::newRow("UTF-16") << "{\0}\0"s;
    }

    void refusesWhatIsNoJson()
    {
        QFETCH(std::string, json);
        QVERIFY(!isAccepted(json));
    }

    void readsDeepNestingWithoutExhaustingTheStack()
    {
        constexpr std::size_t depth = 1'000'000;
        const std::string open(depth, '[');
        QVERIFY(isAccepted(open + std::string(depth, ']')));
        QVERIFY(!isAccepted(open));
    }

    void refusesTextsThatAreNoUnicode_data()
    {
        QTest::addColumn<std::string>("json");
        QTest::newRow("half of a pair") << R"("\ud83d")"s;
        QTest::newRow("the other half") << R"("\ude00")"s;
        QTest::newRow("the halves the wrong way round") << R"("\ude00\ud83d")"s;
        QTest::newRow("a half before a letter") << R"("\ud83dx")"s;
    }

    void refusesTextsThatAreNoUnicode()
    {
        QFETCH(std::string, json);
        QCOMPARE(textIn(json), std::string("(malformed)"));
    }

    void readsEscapedTexts_data()
    {
        QTest::addColumn<std::string>("json");
        QTest::addColumn<std::string>("text");
        QTest::newRow("both forms of the slash") << R"("a/b\/c")"s
                                                 << "a/b/c"s;
        QTest::newRow("all short escapes") << "\"\\\"\\\\\\b\\f\\n\\r\\t\""s
                                           << "\"\\\b\f\n\r\t"s;
        QTest::newRow("a zero byte") << R"("a\u0000b")"s
                                     << "a\0b"s;
        QTest::newRow("capitals and small letters") << R"("\u00e9\u00E9")"s
                                                    << "éé"s;
        QTest::newRow("a pair of surrogates") << R"("\ud83d\ude00")"s
                                              << "😀"s;
        QTest::newRow("behind a byte order mark") << "\xEF\xBB\xBF\"a\""s
                                                  << "a"s;
        QTest::newRow("between blanks") << " \r\n\t\"a\" \n"s
                                        << "a"s;
    }

    void readsEscapedTexts()
    {
        QFETCH(std::string, json);
        QFETCH(std::string, text);
        QCOMPARE(textIn(json), text);
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::JsonTest)
#include "JsonTest.moc"
