#include "contacts/ContactNames.h"
#include "export/RecordWriter.h"
#include "support/Printing.h"

#include <limits>

using namespace std::string_literals;

namespace korvane {

namespace {

const ChatInfo chat{.id = 1, .guid = "g", .identifier = "+1 555 000 0009"};

std::string linesOf(const std::vector<MessageRowView>& rows, const ContactNames& names = {},
    const ChatInfo& where = chat, std::string_view title = "T")
{
    RecordWriter writer(where, title, names);
    std::string lines;
    for (const MessageRowView& row : rows)
        writer.append(row, lines);
    return lines;
}

std::string times(int count, const std::string& text)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

/// The JSON value of `key` in a record, or "(absent)".
std::string member(const std::string& line, const std::string& key)
{
    const std::size_t at = line.find("\"" + key + "\":");
    if (at == std::string::npos)
        return "(absent)";
    const std::size_t start = at + key.size() + 3;
    const std::size_t end = line.find(",\"", start);
    return line.substr(start, std::min(end, line.find("}\n", start)) - start);
}

} // namespace

/// Writing one message as one line of JSON.
class RecordTest : public QObject {
    Q_OBJECT

private slots:
    void everyCombinationOfKeysStandsInOrder()
    {
        for (unsigned bits = 0; bits < 3 * 32; ++bits) {
            MessageRowView row{.rowID = 7, .text = "x", .attachmentCount = 1};
            std::string expected = R"({"attachmentCount":1,"body":"x","conversationID":"g",)"
                                   R"("conversationName":"T","date":"2001-01-01T00:00:00.000Z",)"
                                   R"("id":"mac:g:7","isOutgoing":)";
            const unsigned from = bits / 32;
            expected += from == 2 ? "true" : "false";
            if (bits & 1U) {
                row.photoCount = 2;
                expected += R"(,"photoCount":2)";
            }
            if (bits & 2U) {
                row.reactionKind = "love";
                expected += R"(,"reactionKind":"love")";
            }
            if (bits & 4U) {
                row.reactionTargetRowID = 5;
                expected += R"(,"reactionTargetID":"mac:g:5")";
            }
            if (bits & 8U) {
                row.recordKind = "message";
                expected += R"(,"recordKind":"message")";
            }
            if (bits & 16U) {
                row.replyToRowID = 6;
                expected += R"(,"replyToID":"mac:g:6")";
            }
            if (from == 0) {
                expected += R"(,"sender":"+1 555 000 0009")";
            } else if (from == 1) {
                row.handle = "a@x";
                row.senderID = "messages:handle:a@x";
                expected += R"(,"sender":"a@x","senderID":"messages:handle:a@x")";
            } else {
                row.fromMe = true;
                row.senderID = "messages:self";
                expected += R"(,"sender":"Me","senderID":"messages:self")";
            }
            QCOMPARE(linesOf({row}), expected + ",\"textUnavailable\":false}\n");
        }
    }

    void namesTheSender_data()
    {
        QTest::addColumn<bool>("fromMe");
        QTest::addColumn<std::optional<std::string>>("handle");
        QTest::addColumn<std::string>("sender");
        QTest::addColumn<std::string>("senderID");
        const auto row = [](const char* name, bool fromMe, const std::optional<std::string>& handle,
                             const std::string& sender, const std::string& senderID) {
            QTest::newRow(name) << fromMe << handle << sender << senderID;
        };
        row("the user", true, std::nullopt, "Me", "messages:self");
        row("the user, under a handle", true, "ann@x.org", "Me", "messages:self");
        row("a known handle", false, "+1 (555) 000-0001", "Ann",
            "messages:handle:+1 (555) 000-0001");
        row("a known address in another case", false, "ANN@X.ORG", "Ann Lee",
            "messages:handle:ANN@X.ORG");
        row("an unknown handle", false, "+49 30 1", "+49 30 1", "messages:handle:+49 30 1");
        row("an empty handle", false, "", "No Number", "messages:handle:");
        row("no handle: the name of the chat's identifier", false, std::nullopt, "Nina",
            "(absent)");
    }

    void namesTheSender()
    {
        QFETCH(bool, fromMe);
        QFETCH(std::optional<std::string>, handle);
        QFETCH(std::string, sender);
        QFETCH(std::string, senderID);
        const ContactNames names{{{"5550000001", "Ann"}, {"5550000009", "Nina"}, {"", "No Number"},
            {"ann@x.org", "Ann Lee"}}};
        MessageRowView row{.fromMe = fromMe, .handle = handle};
        if (senderID != "(absent)")
            row.senderID = senderID;
        const std::string line = linesOf({row}, names);
        QCOMPARE(member(line, "sender"), "\"" + sender + "\"");
        QCOMPARE(
            member(line, "senderID"), senderID == "(absent)" ? senderID : "\"" + senderID + "\"");
        QCOMPARE(member(line, "isOutgoing"), fromMe ? "true"s : "false"s);
    }

    void keepsTheSendersApart()
    {
        std::vector<MessageRowView> rows;
        for (const char* handle : {"a", "b", "a", "", "b"})
            rows.push_back({.handle = handle, .senderID = handle});
        rows.push_back({});
        rows.push_back({.fromMe = true, .handle = "a", .senderID = "messages:self"});
        rows.push_back(rows[0]);
        const std::string lines = linesOf(rows);
        std::string senders;
        std::size_t start = 0;
        for (std::size_t end = 0; (end = lines.find('\n', start)) != std::string::npos;
             start = end + 1)
            senders += member(lines.substr(start, end + 1 - start), "sender");
        QCOMPARE(senders, R"("a""b""a""""b""+1 555 000 0009""Me""a")"s);
    }

    void saysWhenTheTextIsUnavailable_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<bool>("unavailable");
        QTest::newRow("empty") << ""s << true;
        QTest::newRow("blanks and a line feed") << "   \n "s << true;
        for (const char* blank : {" ", "\t", "\n", "\v", "\f", "\r", "\u0085", "\u00a0", "\u1680",
                 "\u2000", "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007",
                 "\u2008", "\u2009", "\u200a", "\u2028", "\u2029", "\u202f", "\u205f", "\u3000"}) {
            const QByteArray code = QByteArray(blank).toHex();
            QTest::addRow("the blank %s", code.constData()) << blank + "\n"s + blank << true;
            QTest::addRow("a letter in blanks %s", code.constData())
                << blank + "x"s + blank << false;
        }
        QTest::newRow("a letter") << "x"s << false;
        QTest::newRow("a zero width space is none") << "\u200b"s << false;
        QTest::newRow("a byte order mark is none") << "\ufeff"s << false;
        QTest::newRow("a Mongolian vowel separator is none") << "\u180e"s << false;
        QTest::newRow("the separators of ASCII are none") << "\x1c\x1d\x1e\x1f"s << false;
        QTest::newRow("a zero byte is none") << "\0"s << false;
        QTest::newRow("an emoji") << "😀"s << false;
    }

    void saysWhenTheTextIsUnavailable()
    {
        QFETCH(std::string, text);
        QFETCH(bool, unavailable);
        const std::string line = linesOf({{.text = text}});
        QCOMPARE(member(line, "textUnavailable"), unavailable ? "true"s : "false"s);
    }

    void idsHoldAnyRowID_data()
    {
        QTest::addColumn<qint64>("rowID");
        QTest::addColumn<std::string>("id");
        QTest::newRow("one") << qint64{1} << R"("mac:g:1")"s;
        QTest::newRow("zero") << qint64{0} << R"("mac:g:0")"s;
        QTest::newRow("negative") << qint64{-12} << R"("mac:g:-12")"s;
        QTest::newRow("largest") << std::numeric_limits<qint64>::max()
                                 << R"("mac:g:9223372036854775807")"s;
        QTest::newRow("smallest") << std::numeric_limits<qint64>::min()
                                  << R"("mac:g:-9223372036854775808")"s;
    }

    void idsHoldAnyRowID()
    {
        QFETCH(qint64, rowID);
        QFETCH(std::string, id);
        const std::string line
            = linesOf({{.rowID = rowID, .reactionTargetRowID = rowID, .replyToRowID = rowID}});
        QCOMPARE(member(line, "id"), id);
        QCOMPARE(member(line, "reactionTargetID"), id);
        QCOMPARE(member(line, "replyToID"), id);
    }

    void escapesGuidTitleAndNames()
    {
        const ChatInfo where{.guid = "\"g/\\", .identifier = "\n"};
        const ContactNames names{{{"", "A \"B\"/\\"}}};
        const std::string line
            = linesOf({{.rowID = 1, .reactionTargetRowID = 2, .replyToRowID = 3}}, names, where,
                "\u2028\"/\t");
        QCOMPARE(line,
            R"({"attachmentCount":0,"body":"",)"
            "\"conversationID\":\"\\\"g/\\\\\","
            "\"conversationName\":\"\u2028\\\"/\\t\","
            R"("date":"2001-01-01T00:00:00.000Z",)"
            "\"id\":\"mac:\\\"g/\\\\:1\","
            R"("isOutgoing":false,)"
            "\"reactionTargetID\":\"mac:\\\"g/\\\\:2\",\"replyToID\":\"mac:\\\"g/\\\\:3\","
            "\"sender\":\"A \\\"B\\\"/\\\\\","
            R"("textUnavailable":true})"
            "\n"s);
    }

    void writesLongTextsWhole_data()
    {
        QTest::addColumn<std::string>("piece");
        QTest::addColumn<std::string>("json");
        QTest::newRow("letters") << "x"s
                                 << "x"s;
        QTest::newRow("the widest escapes") << "\x01"s
                                            << "\\u0001"s;
        QTest::newRow("emoji") << "😀"s
                               << "😀"s;
    }

    void writesLongTextsWhole()
    {
        QFETCH(std::string, piece);
        QFETCH(std::string, json);
        std::string lines;
        const ContactNames names;
        RecordWriter writer(chat, "T", names);
        std::string expected;
        for (const int size : {1, 170'000, 3, 1'100'000, 0, 180'000, 5}) {
            const std::string text = times(size, piece);
            writer.append({.text = text}, lines);
            expected += R"({"attachmentCount":0,"body":)"
                        "\""
                + times(size, json);
            expected += "\","
                        R"("conversationID":"g","conversationName":"T",)"
                        R"("date":"2001-01-01T00:00:00.000Z","id":"mac:g:0","isOutgoing":false,)"
                        R"("sender":"+1 555 000 0009","textUnavailable":)";
            expected += size == 0 ? "true}\n" : "false}\n";
        }
        QVERIFY(lines == expected);
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::RecordTest)
#include "RecordTest.moc"
