#include "export/ExportState.h"
#include "support/Printing.h"

#include <limits>

using namespace std::string_literals;

namespace korvane {

namespace {

ExportState stateOf(const ChatState& chat)
{
    return {.chats = {{"guid", chat}}};
}

const ChatState bare{.lastRowID = 7, .fileName = "a.txt"};
const ChatState full{.lastRowID = 7,
    .fileName = "a.txt",
    .title = "Team",
    .messages = 3,
    .epoch = "E",
    .formatVersion = 4};

/// A state with a valid record and a second one with the given members.
std::string stateWith(const std::string& members)
{
    return R"({"chats":{"good":{"lastRowID":1,"fileName":"g"},"guid":{)" + members + "}}}";
}

} // namespace

/// The state as JSON: writing, reading, and which texts count as broken.
class ExportStateTest : public QObject {
    Q_OBJECT

private slots:
    void writesOneCompactObject_data()
    {
        QTest::addColumn<ExportState>("state");
        QTest::addColumn<std::string>("json");
        const auto row = [](const char* name, const ExportState& state, const std::string& json) {
            QTest::newRow(name) << state << json;
        };
        row("no chats", {}, R"({"chats":{}})");
        row("only what is required", stateOf(bare),
            R"({"chats":{"guid":{"lastRowID":7,"fileName":"a.txt"}}})");
        row("all fields in their order", stateOf(full),
            R"({"chats":{"guid":{"lastRowID":7,"fileName":"a.txt","title":"Team","messages":3,)"
            R"("epoch":"E","formatVersion":4}}})");
        row("title alone", stateOf({.lastRowID = 7, .fileName = "a.txt", .title = "Team"}),
            R"({"chats":{"guid":{"lastRowID":7,"fileName":"a.txt","title":"Team"}}})");
        row("empty and zero are values",
            stateOf({.lastRowID = 0,
                .fileName = "",
                .title = "",
                .messages = 0,
                .epoch = "",
                .formatVersion = 0}),
            R"({"chats":{"guid":{"lastRowID":0,"fileName":"","title":"","messages":0,"epoch":"",)"
            R"("formatVersion":0}}})");
        row("slashes in every text",
            {.chats = {{"iMessage/1",
                 {.lastRowID = 7, .fileName = "a/b", .title = "c/d", .epoch = "e/f"}}}},
            R"({"chats":{"iMessage\/1":{"lastRowID":7,"fileName":"a\/b","title":"c\/d",)"
            R"("epoch":"e\/f"}}})");
        row("escapes and other scripts",
            {.chats = {{"\"", {.lastRowID = 7, .fileName = "\\\n", .title = "שלום 😀"}}}},
            "{\"chats\":{\"\\\"\":"
            R"({"lastRowID":7,"fileName":"\\\n","title":"שלום 😀"}}})");
        row("two chats",
            {.chats
                = {{"a", bare}, {"b", {.lastRowID = -9223372036854775807 - 1, .fileName = "b"}}}},
            R"({"chats":{"a":{"lastRowID":7,"fileName":"a.txt"},)"
            R"("b":{"lastRowID":-9223372036854775808,"fileName":"b"}}})");
    }

    void writesOneCompactObject()
    {
        QFETCH(ExportState, state);
        QFETCH(std::string, json);
        QCOMPARE(state.toJson(), json);
        QVERIFY(ExportState::fromJson(json) == state);
    }

    void readsRecords_data()
    {
        QTest::addColumn<std::string>("members");
        QTest::addColumn<ChatState>("chat");
        const auto row = [](const char* name, const std::string& members, const ChatState& chat) {
            QTest::newRow(name) << members << chat;
        };
        row("all fields",
            R"("lastRowID":7,"fileName":"a.txt","title":"Team","messages":3,"epoch":"E",)"
            R"("formatVersion":4)",
            full);
        row("in another order",
            R"("formatVersion":4,"epoch":"E","messages":3,"title":"Team","fileName":"a.txt",)"
            R"("lastRowID":7)",
            full);
        row("only what is required", R"("lastRowID":7,"fileName":"a.txt")", bare);
        row("null for whatever may be missing",
            R"("lastRowID":7,"fileName":"a.txt","title":null,"messages":null,"epoch":null,)"
            R"("formatVersion":null)",
            bare);
        row("unknown keys of every kind",
            R"("x":{"lastRowID":"no"},"lastRowID":7,"y":[1,[2]],"fileName":"a.txt","z":1.5e300,)"
            R"("LastRowID":true,"":null)",
            bare);
        row("another format version", R"("lastRowID":7,"fileName":"a.txt","formatVersion":3)",
            {.lastRowID = 7, .fileName = "a.txt", .formatVersion = 3});
        row("both forms of the slash", R"("lastRowID":7,"fileName":"a/b\/c")",
            {.lastRowID = 7, .fileName = "a/b/c"});
        row("the largest numbers",
            R"("lastRowID":9223372036854775807,"fileName":"","messages":-9223372036854775808)",
            {.lastRowID = std::numeric_limits<std::int64_t>::max(),
                .messages = std::numeric_limits<std::int64_t>::min()});
        for (const char* seven : {"7.0", "7.000", "0.7e1", "70e-1", "7E0", "7e+0", "0.0007e4"})
            row(seven, R"("fileName":"a.txt","lastRowID":)"s + seven, bare);
        row("integers in other forms",
            R"("lastRowID":1e2,"fileName":"a.txt","messages":-0.0,"formatVersion":4.0)",
            {.lastRowID = 100, .fileName = "a.txt", .messages = 0, .formatVersion = 4});
        row("a large integer with an exponent",
            R"("lastRowID":1e18,"fileName":"a.txt","messages":-9.223372036854775808e18)",
            {.lastRowID = 1'000'000'000'000'000'000,
                .fileName = "a.txt",
                .messages = std::numeric_limits<std::int64_t>::min()});
        row("with blanks", " \"lastRowID\" :\t7 ,\r\n\"fileName\" : \"a.txt\" ", bare);
        row("the first of equal keys", R"("lastRowID":7,"lastRowID":8,"fileName":"a.txt")", bare);
    }

    void readsRecords()
    {
        QFETCH(std::string, members);
        QFETCH(ChatState, chat);
        const auto state = ExportState::fromJson(stateWith(members));
        QVERIFY(state);
        QCOMPARE(state->chats.size(), 2U);
        QVERIFY(state->chats.at("guid") == chat);
    }

    void oneMalformedRecordDiscardsAll_data()
    {
        QTest::addColumn<std::string>("members");
        QTest::newRow("no fields") << ""s;
        QTest::newRow("no file name") << R"("lastRowID":7)"s;
        QTest::newRow("no last row id") << R"("fileName":"a")"s;
        QTest::newRow("a file name of null") << R"("lastRowID":7,"fileName":null)"s;
        QTest::newRow("a last row id of null") << R"("lastRowID":null,"fileName":"a")"s;
        QTest::newRow("a file name of another case") << R"("lastRowID":7,"filename":"a")"s;
        for (const char* wrong : {R"("7")", "7.5", "1e-1", "1e19", "9.223372036854775808e18",
                 "1e400", "-1e400", "true", "[]", "{}", "9223372036854775808",
                 "-9223372036854775809", "18446744073709551616"}) {
            QTest::addRow("a last row id of %s", wrong)
                << R"("fileName":"a","lastRowID":)" + std::string(wrong);
            for (const char* key : {"messages", "formatVersion"}) {
                QTest::addRow("%s of %s", key, wrong) << R"("lastRowID":7,"fileName":"a",)"
                                                         "\""
                        + std::string(key) + "\":" + wrong;
            }
        }
        for (const char* wrong : {"7", "false", "[]", "{}", "1.5"}) {
            QTest::addRow("a file name of %s", wrong)
                << R"("lastRowID":7,"fileName":)" + std::string(wrong);
            for (const char* key : {"title", "epoch"}) {
                QTest::addRow("%s of %s", key, wrong) << R"("lastRowID":7,"fileName":"a",)"
                                                         "\""
                        + std::string(key) + "\":" + wrong;
            }
        }
        for (const char* half :
            {"\\udc00", "\\ud800", "\\ud800\\ud800", "\\ud800x", "\\uDBFF\\n"}) {
            QTest::addRow("a title with %s, half of a pair", half)
                << R"("lastRowID":7,"fileName":"a","title":)"
                   "\""
                    + std::string(half) + '"';
        }
    }

    void oneMalformedRecordDiscardsAll()
    {
        QFETCH(std::string, members);
        QVERIFY(!ExportState::fromJson(stateWith(members)));
    }

    void valuesOfUnknownKeysDoNotMatter_data()
    {
        QTest::addColumn<std::string>("value");
        const std::string digits(400, '9');
        for (const char* value : {"1e400", "-1e400", "1E+99999999999999999999", "0e400", "1e-400",
                 "0.0e999", "18446744073709551616", "1.7976931348623159e308", R"("\ud800")",
                 R"("\udc00")", R"("\ud800\ud800\udc00\\ud800")", R"({"\udbff":"\u0000\udfff"})",
                 "[\"1e400\\\"\",1e400,{\"x\":1e400}]", R"("\\")"})
            QTest::addRow("%s", value) << std::string(value);
        QTest::newRow("400 digits") << digits;
        QTest::newRow("400 decimals") << "0." + digits;
        QTest::newRow("400 digits, then decimals and an exponent") << "-" + digits + ".25e-9";
        constexpr std::size_t deep = 300'000;
        QTest::newRow("lists in lists")
            << std::string(deep, '[') + "1e999" + std::string(deep, ']');
    }

    void valuesOfUnknownKeysDoNotMatter()
    {
        QFETCH(std::string, value);
        const std::string record = R"({"x":)" + value + R"(,"lastRowID":7.0,"fileName":"a.txt"})";
        const auto state = ExportState::fromJson(
            R"({"x":)" + value + R"(,"chats":{"guid":)" + record + R"(},"y":)" + value + "}");
        QVERIFY(state == stateOf(bare));
    }

    void brokenJsonUnderAnUnknownKeyCounts_data()
    {
        QTest::addColumn<std::string>("value");
        for (const char* value : {"", "01e400", "1e400.5", "1.e400", ".1e400", "+1e400", "1e",
                 "1e400e1", "--1e400", "1e400x", "Infinity", "NaN", R"("\ud80")", "\"\\ud800",
                 R"("\ud800\x")", R"("\ud800\u12")", "[1e400", "'1e400'", "1e400 1e400", "1.0.5",
                 "7.0e", "1.0e1.5", "00.0", "1-1.0"})
            QTest::addRow("%s", value) << std::string(value);
    }

    void brokenJsonUnderAnUnknownKeyCounts()
    {
        QFETCH(std::string, value);
        QVERIFY(!ExportState::fromJson(R"({"x":)" + value + R"(,"chats":{}})"));
        QVERIFY(!ExportState::fromJson(R"({"y":1e400,"x":)" + value + R"(,"chats":{}})"));
    }

    void theFirstOfEqualGuidsCounts()
    {
        const auto state
            = ExportState::fromJson(R"({"chats":{"guid":{"lastRowID":7,"fileName":"a.txt"},)"
                                    R"("guid":{"lastRowID":8,"fileName":"b.txt"}}})");
        QVERIFY(state == stateOf(bare));
        QVERIFY(!ExportState::fromJson(
            R"({"chats":{"guid":{"lastRowID":7,"fileName":"a.txt"},"guid":{}}})"));
    }

    void refusesWhatIsNoState_data()
    {
        QTest::addColumn<std::string>("json");
        for (const char* json : {"", "{}", "[]", "null", "4", R"("chats")", R"({"chats":null})",
                 R"({"chats":[]})", R"({"chats":"x"})", R"({"Chats":{}})", R"({"chats":{}}})",
                 R"({"chats":{}}{})", R"([{"chats":{}}])", R"({"chats":{"guid":null}})",
                 R"({"chats":{"guid":7}})", R"({"chats":{"guid":[]}})", "chats", "\xff",
                 "{\"chats\":{\"\xc3\":{\"lastRowID\":1,\"fileName\":\"a\"}}}"})
            QTest::addRow("%s", json) << std::string(json);
    }

    void refusesWhatIsNoState()
    {
        QFETCH(std::string, json);
        QVERIFY(!ExportState::fromJson(json));
    }

    void everyPrefixIsBroken()
    {
        const std::string json = ExportState{.chats = {{"a/é", full}, {"b", bare}}}.toJson();
        for (std::size_t size = 0; size < json.size(); ++size)
            QVERIFY2(!ExportState::fromJson(json.substr(0, size)), json.substr(0, size).c_str());
        QVERIFY(ExportState::fromJson(json));
    }

    void everyMissingByteIsNoticedOrHarmless()
    {
        const std::string json = ExportState{.chats = {{"a/é", full}, {"b", bare}}}.toJson();
        for (std::size_t i = 0; i < json.size(); ++i) {
            const auto state = ExportState::fromJson(json.substr(0, i) + json.substr(i + 1));
            if (state)
                QVERIFY(ExportState::fromJson(state->toJson()) == state);
        }
    }

    void comesBackAsItWent()
    {
        ExportState state;
        for (char c = 1; c > 0; ++c) {
            const std::string text = "é/\\" + std::string(1, c) + "\u2028😀";
            state.chats[text] = {.lastRowID = c, .fileName = text, .title = text, .epoch = text};
        }
        state.chats["a\0b"s] = {.fileName = "a\0b"s, .messages = -1, .formatVersion = -4};
        QVERIFY(ExportState::fromJson(state.toJson()) == state);
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::ExportStateTest)
#include "ExportStateTest.moc"
