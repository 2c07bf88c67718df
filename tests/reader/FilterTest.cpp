#include "reader/Filter.h"
#include "reader/Conversation.h"
#include "reader/Records.h"
#include "support/Printing.h"

#include <QDateTime>

using namespace korvane;

namespace {

std::int64_t utc(const char* text)
{
    return QDateTime::fromString(QString::fromLatin1(text), Qt::ISODateWithMs).toMSecsSinceEpoch();
}

} // namespace

/// What dates mean, and which records match.
class FilterTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "Europe/Berlin"); }

    void dateMeansASpanOfLocalTime_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<qint64>("begin");
        QTest::addColumn<qint64>("end");
        const auto row = [](const char* text, const char* begin, const char* end) {
            QTest::newRow(text) << std::string(text) << qint64(utc(begin)) << qint64(utc(end));
        };
        row("2024", "2023-12-31T23:00:00Z", "2024-12-31T23:00:00Z");
        row("2024-05", "2024-04-30T22:00:00Z", "2024-05-31T22:00:00Z");
        row("2024-12", "2024-11-30T23:00:00Z", "2024-12-31T23:00:00Z");
        row("2024-05-06", "2024-05-05T22:00:00Z", "2024-05-06T22:00:00Z");
        row("2024-02-29", "2024-02-28T23:00:00Z", "2024-02-29T23:00:00Z");
        row("2024-03-31", "2024-03-30T23:00:00Z", "2024-03-31T22:00:00Z"); // 23 hours
        row("2024-05-06T07", "2024-05-06T05:00:00Z", "2024-05-06T06:00:00Z");
        row("2024-05-06T07:08", "2024-05-06T05:08:00Z", "2024-05-06T05:09:00Z");
        row("2024-05-06 07:08:09", "2024-05-06T05:08:09Z", "2024-05-06T05:08:10Z");
        row("2024-05-06T07:08:09.5", "2024-05-06T05:08:09.500Z", "2024-05-06T05:08:09.501Z");
        row("2024-05-06T07:08Z", "2024-05-06T07:08:00Z", "2024-05-06T07:09:00Z");
        row("2024-05-06T07:08-05:30", "2024-05-06T12:38:00Z", "2024-05-06T12:39:00Z");
        row("2024-05-06T07:08+0200", "2024-05-06T05:08:00Z", "2024-05-06T05:09:00Z");
    }

    void dateMeansASpanOfLocalTime()
    {
        QFETCH(std::string, text);
        QFETCH(qint64, begin);
        QFETCH(qint64, end);
        const auto span = timeSpan(text);
        QVERIFY(span);
        QCOMPARE(span->begin, begin);
        QCOMPARE(span->end, end);
    }

    void otherTextsAreNoDates()
    {
        for (const char* text : {"", "yesterday", "24", "2024-", "2024-5", "2024-13", "2024-00",
                 "2023-02-29", "2024-04-31", "0000", "2024-05-06T", "2024-05-06T24",
                 "2024-05-06T07:60", "2024-05-06T07:08:60", "2024-05-06T07+99:00",
                 "2024-05-06T07+02:60", "2024-05Z", "2024-05-06Z", " 2024", "2024\n",
                 "2024-05-06T7", "٢٠٢٤", "20240506", "2024-05-06T07:08:09."})
            QVERIFY2(!timeSpan(text), text);
    }

    void searchFindsOtherFormsOfACharacter_data()
    {
        QTest::addColumn<std::string>("search");
        QTest::addColumn<std::string>("body");
        QTest::addColumn<bool>("isFound");
        const auto row = [](const char* name, const char* search, const char* body, bool isFound) {
            QTest::newRow(name) << std::string(search) << std::string(body) << isFound;
        };
        row("a curly apostrophe", "don't", "I don’t know", true);
        row("a straight apostrophe", "don’t", "I don't know", true);
        row("curly quotation marks", "\"yes\"", "She said “Yes”", true);
        row("a composed accent", "creme", "Crème brûlée", true);
        row("a combining accent", "creme", "cre\u0300me", true);
        row("an accent that is wanted", "crème", "CREME", true);
        row("a final sigma", "οδοσ", "ΟΔΌΣ οδός", true);
        row("a Cyrillic letter", "елка", "Ёлка", true);
        row("Hebrew points", "שלום", "שָׁלוֹם", true);
        row("a mark that is no accent", "が", "か", false);
        row("another letter", "o", "ø", false);
    }

    void searchFindsOtherFormsOfACharacter()
    {
        QFETCH(const std::string, search);
        QFETCH(const std::string, body);
        QFETCH(const bool, isFound);
        const QTemporaryDir folder;
        const std::filesystem::path file = folder.filePath(QStringLiteral("x")).toStdString();
        writeBytes(file, linesOf({message(1, body)}));
        const Conversation conversation({.guid = "c", .files = {{file}}});
        QCOMPARE(chosenMessages(conversation, {.search = search}).size(), isFound ? 1U : 0U);
    }

    void filterChoosesRecords_data()
    {
        QTest::addColumn<Filter>("filter");
        QTest::addColumn<Selection>("expected");
        const qint64 noon = utc("2024-05-06T12:00:00Z");
        QTest::newRow("all") << Filter() << Selection{0, 1, 2, 3, 4};
        QTest::newRow("since is inclusive") << Filter{.since = noon + 3000} << Selection{2, 3};
        QTest::newRow("before is exclusive") << Filter{.before = noon + 3000} << Selection{0, 1};
        QTest::newRow("part of a name") << Filter{.from = "nN"} << Selection{0, 4};
        QTest::newRow("a handle") << Filter{.from = "+1303"} << Selection{1, 2};
        QTest::newRow("a part of a handle is none") << Filter{.from = "1303"} << Selection{};
        QTest::newRow("the user") << Filter{.from = "me"} << Selection{3};
        QTest::newRow("text in another case") << Filter{.search = "straSSE"} << Selection{2};
        QTest::newRow("text and name") << Filter{.from = "bo", .search = "hell"} << Selection{1};
        QTest::newRow("escapes are not searched") << Filter{.search = "\\n"} << Selection{};
        QTest::newRow("text over two lines") << Filter{.search = "two\nlines"} << Selection{3};
    }

    void filterChoosesRecords()
    {
        QFETCH(Filter, filter);
        QFETCH(Selection, expected);
        Record undated = message(5, "when?");
        undated.date = "unknown";
        QTemporaryDir folder;
        const std::filesystem::path file = folder.filePath(QStringLiteral("x")).toStdString();
        writeBytes(file,
            linesOf({message(1), fromSender(message(2), "James Bo", "+1303"),
                fromSender(message(3, "Straße"), "Bo", "+1303"), fromMe(message(4, "two\nlines")),
                undated}));
        const Conversation conversation({.guid = "c", .files = {{file}}});
        QCOMPARE(chosenMessages(conversation, filter), expected);
    }
};

QTEST_GUILESS_MAIN(FilterTest)
#include "FilterTest.moc"
