#include "reader/Conversation.h"
#include "reader/Records.h"
#include "support/Printing.h"

using namespace korvane;
namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t none = Message::none;

using Bodies = std::vector<std::string>;
using Targets = std::vector<std::uint32_t>;

} // namespace

/// Reading the files of one chat: which records there are, in which order, and what belongs to
/// what.
class ConversationTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void recordsAreOrderedByDateThenByRow()
    {
        Record early = message(9, "late to arrive, early by date");
        early.date = message(1).date;
        Record sameTime = message(10, "row 10");
        sameTime.date = message(2).date;
        const auto read = conversation({linesOf({sameTime, message(2, "row 2"), early})});
        QCOMPARE(bodies(read), (Bodies{"late to arrive, early by date", "row 2", "row 10"}));
    }

    void recordsWithoutATimeAreOrderedByTheTextOfTheirDateThenByRow()
    {
        const auto dated = [](Record record, const std::string& date) {
            record.date = date;
            return record;
        };
        const auto read = conversation(
            {linesOf({dated(message(4, "d"), "unknown"), dated(message(3, "c"), "unknown"),
                message(2, "b"), dated(message(5, "a"), "-0001-05-06T12:00:00.000Z")})});
        QCOMPARE(bodies(read), (Bodies{"a", "b", "c", "d"}));
    }

    void lastOfSeveralRecordsWithOneIdWins()
    {
        Record moved = message(1, "new");
        moved.date = message(5).date;
        const auto read = conversation({linesOf({message(1, "old"), message(3), moved})});
        QCOMPARE(bodies(read), (Bodies{"hello", "new"}));
        QCOMPARE(read.files().front().records, 3);
        QCOMPARE(read.files().front().repeated, 1);
    }

    void tornLinesAreSkippedAndCounted_data()
    {
        QTest::addColumn<std::string>("damage");
        const std::string line = linesOf({message(2, "torn")});
        QTest::newRow("the beginning of a record") << line.substr(0, 40) + "\n";
        QTest::newRow("a beginning, then the next record") << line.substr(0, 40);
        QTest::newRow("another object") << std::string("{\"a\":1}\n");
        QTest::newRow("zeros") << std::string(100, '\0') + '\n';
        QTest::newRow("invalid UTF-8") << linesOf({message(2, "\xff")});
        QTest::newRow("a megabyte") << std::string(1'000'000, 'x') + '\n';
    }

    void tornLinesAreSkippedAndCounted()
    {
        QFETCH(std::string, damage);
        const auto read = conversation(
            {linesOf({message(1, "first")}) + damage + linesOf({message(3, "last")})});
        QCOMPARE(bodies(read), (Bodies{"first", "last"}));
        QCOMPARE(read.files().front().torn, 1);
        QVERIFY(!read.files().front().endsUnfinished);
    }

    void completeRecordsInOneLineAreAllRead()
    {
        std::string both = linesOf({message(1, "first"), message(2, "second")});
        both.erase(both.find('\n'), 1);
        const auto read = conversation({both});
        QCOMPARE(bodies(read), (Bodies{"first", "second"}));
        QCOMPARE(read.files().front().torn, 1);
    }

    void unfinishedEndOfAFileIsNotTorn()
    {
        const std::string lines = linesOf({message(1), message(2)});
        const auto read = conversation({lines.substr(0, lines.size() - 20)});
        QCOMPARE(read.messages().size(), std::size_t{1});
        QCOMPARE(read.files().front().torn, 0);
        QVERIFY(read.files().front().endsUnfinished);
    }

    void lastRecordNeedsNoLineFeed()
    {
        const std::string lines = linesOf({message(1), message(2)});
        const auto read = conversation({lines.substr(0, lines.size() - 1)});
        QCOMPARE(read.messages().size(), std::size_t{2});
        QVERIFY(!read.files().front().endsUnfinished);
    }

    void everyRecordIsGivenInTheFormOfAnExport_data()
    {
        QTest::addColumn<std::string>("line");
        const std::string line = lineOf(message(1, "a/b"));
        const auto replaced = [&line](const std::string& from, const std::string& to) {
            std::string changed = line;
            return changed.replace(changed.find(from), from.size(), to);
        };
        QTest::newRow("as it is") << line;
        QTest::newRow("with blanks") << replaced(",\"body\":", ", \"body\" : ");
        QTest::newRow("an unknown key") << replaced("{", "{\"a\":[1,{}],");
        QTest::newRow("another order") << replaced("\"attachmentCount\":0,", "")
                                              .insert(1, "\"textUnavailable\":false,")
                                              .replace(line.size() - 2, 0, "");
        QTest::newRow("needless escapes") << replaced("a/b", "\\u0061\\/b");
        QTest::newRow("a number in another form") << replaced(":0,", ":0.0,");
        QTest::newRow("a null") << replaced("\"sender\"", "\"replyToID\":null,\"sender\"");
        QTest::newRow("a carriage return at the end") << line + '\r';
        QTest::newRow("a byte order mark") << "\xEF\xBB\xBF" + line;
    }

    void everyRecordIsGivenInTheFormOfAnExport()
    {
        QFETCH(std::string, line);
        const std::string expected = lineOf(message(1, "a/b"));
        if (line.find("attachmentCount") == std::string::npos)
            line.insert(line.size() - 1, ",\"attachmentCount\":0");
        const auto read = conversation({line + '\n'});
        QCOMPARE(read.messages().size(), std::size_t{1});
        QCOMPARE(std::string(read.messages().front().json), expected);
        QCOMPARE(read.record(0), message(1, "a/b"));
    }

    void allKeysAreReadBack()
    {
        Record record = reply(2, 1, "line one\nline \"two\" \\ \x01 é 👩‍👩‍👧");
        record.attachmentCount = 1;
        record.photoCount = 3;
        const auto read = conversation({linesOf({record, fromMe(removal(3, 1))})});
        QCOMPARE(read.record(0), record);
        QCOMPARE(read.record(1), fromMe(removal(3, 1)));
    }

    void kindsAndTargetsAreKnown()
    {
        const auto read = conversation({linesOf({message(1), reply(2, 1), reaction(3, 2),
            removal(4, 2), systemLine(5), reply(6, 99)})});
        QCOMPARE(targets(read), (Targets{none, 0, 1, 1, none, none}));
        using enum MessageKind;
        const std::vector<MessageKind> expected{
            Message, Message, Reaction, ReactionRemoval, System, Message};
        for (std::size_t i = 0; i < expected.size(); ++i)
            QCOMPARE(read.messages()[i].kind, expected[i]);
    }

    void messageThatRefersToItselfHasNoTarget()
    {
        QCOMPARE(targets(conversation({linesOf({reply(1, 1)})})), Targets{none});
    }

    void timesAreMillisecondsSince1970_data()
    {
        QTest::addColumn<std::string>("date");
        QTest::addColumn<qint64>("time");
        QTest::addColumn<bool>("hasTime");
        using Limits = std::numeric_limits<qint64>;
        QTest::newRow("a date") << std::string("2024-05-06T07:08:09.123Z") << qint64(1714979289123)
                                << true;
        QTest::newRow("before 1970")
            << std::string("1969-12-31T23:59:59.999Z") << qint64(-1) << true;
        QTest::newRow("year 0") << std::string("0000-01-01T00:00:00.000Z")
                                << qint64(-62167219200000) << true;
        QTest::newRow("before year 0")
            << std::string("-0001-01-01T00:00:00.000Z") << Limits::min() << false;
        QTest::newRow("hour 24") << std::string("2024-05-06T24:08:09.123Z") << Limits::max()
                                 << false;
        QTest::newRow("minute 60")
            << std::string("2024-05-06T07:60:09.123Z") << Limits::max() << false;
        QTest::newRow("second 60")
            << std::string("2024-05-06T07:08:60.123Z") << Limits::max() << false;
        QTest::newRow("no date") << std::string("yesterday") << Limits::max() << false;
    }

    void timesAreMillisecondsSince1970()
    {
        QFETCH(std::string, date);
        QFETCH(qint64, time);
        QFETCH(bool, hasTime);
        Record record = message(1);
        record.date = date;
        const auto read = conversation({linesOf({record})});
        QCOMPARE(read.messages().front().time, time);
        QCOMPARE(read.messages().front().hasTime(), hasTime);
    }

    void keptRecordsFillGaps()
    {
        const auto read = conversation({linesOf({message(1), message(3)}),
            linesOf({message(1, "hello"), message(2, "deleted since")})});
        QCOMPARE(bodies(read), (Bodies{"hello", "deleted since", "hello"}));
        QCOMPARE(read.messages()[1].file, 1U);
    }

    void currentRecordWinsOverAKeptOneOfTheSameMessage()
    {
        const auto read = conversation({linesOf({message(1, "edited")}), linesOf({message(1)})});
        QCOMPARE(bodies(read), Bodies{"edited"});
    }

    void keptRecordWithTheIdOfAnotherMessageIsAMessageOfItsOwn_data()
    {
        QTest::addColumn<Record>("kept");
        Record later = message(1, "kept");
        later.date = message(2).date;
        QTest::newRow("another date") << later;
        QTest::newRow("another sender") << fromSender(message(1, "kept"), "Ann", "+1303");
    }

    void keptRecordWithTheIdOfAnotherMessageIsAMessageOfItsOwn()
    {
        QFETCH(Record, kept);
        const auto read = conversation({linesOf({message(1, "current")}), linesOf({kept})});
        QCOMPARE(bodies(read), (Bodies{"current", "kept"}));
    }

    /// After a move to a new Mac, all messages have other row ids.
    void keptRecordWithAnotherIdCanBeTheSameMessage()
    {
        const auto read
            = conversation({linesOf({message(1, "a"), message(2, "b"), reply(3, 1, "c")}),
                linesOf({withRow(message(1, "a"), 101), withRow(message(2, "b"), 102),
                    withRow(reply(4, 101, "only kept"), 104)})});
        QCOMPARE(bodies(read), (Bodies{"a", "b", "c", "only kept"}));
        QCOMPARE(targets(read), (Targets{none, none, 0, 0}));
    }

    void keptRecordWithAnotherIdIsAnotherMessageIfItsContentDiffers_data()
    {
        QTest::addColumn<Record>("kept");
        QTest::newRow("text") << message(1, "another");
        QTest::newRow("date") << message(2);
        QTest::newRow("sender") << fromSender(message(1), "Bo", "bo@x.org");
        QTest::newRow("kind") << systemLine(1, "hello");
        Record photo = message(1);
        photo.photoCount = photo.attachmentCount = 1;
        QTest::newRow("photos") << photo;
    }

    void keptRecordWithAnotherIdIsAnotherMessageIfItsContentDiffers()
    {
        QFETCH(const Record, kept);
        const auto read = conversation({linesOf({message(1)}), linesOf({withRow(kept, 101)})});
        QCOMPARE(read.messages().size(), std::size_t{2});
    }

    void textThatWasSentTwiceInAMillisecondStaysTwoMessages()
    {
        const auto read
            = conversation({linesOf({message(1)}), linesOf({message(1), withRow(message(1), 2)})});
        QCOMPARE(read.messages().size(), std::size_t{2});
        const auto renumbered = conversation({linesOf({message(1), withRow(message(1), 2)}),
            linesOf(
                {withRow(message(1), 101), withRow(message(1), 102), withRow(message(1), 103)})});
        QCOMPARE(renumbered.messages().size(), std::size_t{3});
    }

    void sameMessageInTwoKeptFilesIsOne()
    {
        const std::string kept = linesOf({message(2, "kept")});
        QCOMPARE(
            bodies(conversation({linesOf({message(1)}), kept, kept})), (Bodies{"hello", "kept"}));
    }

    void referenceMeansTheMessageOfItsOwnFile()
    {
        Record other = message(1, "of another database");
        other.date = message(30).date;
        const auto read
            = conversation({linesOf({message(1, "current"), reply(40, 1, "to current")}),
                linesOf({other, reply(50, 1, "to the other")})});
        QCOMPARE(
            bodies(read), (Bodies{"current", "of another database", "to current", "to the other"}));
        QCOMPARE(targets(read), (Targets{none, none, 0, 1}));
    }

    void referenceToAMessageThatOnlyAnotherFileHasIsResolvedThere()
    {
        const auto read = conversation({linesOf({message(1), reply(3, 2, "current")}),
            linesOf({message(1), message(2, "kept"), reply(4, 1, "also kept")})});
        QCOMPARE(bodies(read), (Bodies{"hello", "kept", "current", "also kept"}));
        QCOMPARE(targets(read), (Targets{none, none, 1, 0}));
    }

    void fileThatCannotBeReadIsReported()
    {
        ArchivedChat chat = chatOf({linesOf({message(1)})});
        chat.files.push_back({m_folder->path().toStdString()});
        chat.files.push_back({m_folder->filePath(QStringLiteral("missing")).toStdString()});
        const Conversation read(chat);
        QCOMPARE(read.messages().size(), std::size_t{1});
        QCOMPARE(read.files().at(1).error, std::string("It is a folder."));
        QCOMPARE(read.files().at(2).error, std::string("No such file or directory."));
    }

    void progressCountsAllBytesAndCanEndTheReading()
    {
        const std::string lines = linesOf({message(1, std::string(3'000'000, 'x')), message(2)});
        std::int64_t bytes = 0;
        const Conversation whole(chatOf({lines, lines}), [&bytes](std::int64_t count) {
            bytes += count;
            return true;
        });
        QCOMPARE(bytes, static_cast<std::int64_t>(2 * lines.size()));
        const Conversation ended(chatOf({lines, lines}), [](std::int64_t) { return false; });
        QCOMPARE(ended.messages().size(), std::size_t{1});
    }

    void viewsStayValidWhenAConversationIsMoved()
    {
        std::vector<Conversation> all;
        all.push_back(conversation({linesOf({message(1)}) + "{ " + lineOf(message(2)).substr(1)}));
        all.push_back(conversation({""}));
        QCOMPARE(bodies(all.front()), (Bodies{"hello", "hello"}));
    }

    void removalCancelsTheReactionOfTheSameSenderAndKind()
    {
        const auto read = conversation({linesOf({message(1), message(2), reaction(3, 1),
            fromMe(reaction(4, 1)), reaction(5, 1, "laugh"), reaction(6, 2), removal(7, 1),
            removal(8, 1, "dislike"), reaction(9, 1)})});
        const StandingReactions standing(read);
        QCOMPARE(standing.to(0), (Targets{3, 4, 8}));
        QCOMPARE(standing.to(1), Targets{5});
        QCOMPARE(standing.to(2), Targets{});
    }

private:
    static Record withRow(Record record, std::int64_t row)
    {
        record.id = "mac:c:" + std::to_string(row);
        return record;
    }

    ArchivedChat chatOf(const std::vector<std::string>& texts) const
    {
        ArchivedChat chat{.guid = "c", .title = "Team", .number = "1"};
        for (const std::string& text : texts) {
            const fs::path path
                = m_folder->filePath(QString::number(chat.files.size())).toStdString();
            writeBytes(path, text);
            chat.files.push_back(
                {path, static_cast<std::int64_t>(text.size()), !chat.files.empty()});
        }
        return chat;
    }

    Conversation conversation(const std::vector<std::string>& texts) const
    {
        return Conversation(chatOf(texts));
    }

    static Bodies bodies(const Conversation& read)
    {
        Bodies bodies;
        for (std::size_t i = 0; i < read.messages().size(); ++i)
            bodies.push_back(read.record(i).body);
        return bodies;
    }

    static Targets targets(const Conversation& read)
    {
        Targets targets;
        for (const Message& each : read.messages())
            targets.push_back(each.target);
        return targets;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(ConversationTest)
#include "ConversationTest.moc"
