#include "reader/Archive.h"
#include "reader/Conversation.h"
#include "reader/PageWriter.h"
#include "reader/Records.h"
#include "support/Printing.h"

#include <QDateTime>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimeZone>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

/// Milliseconds since 1970 UTC as the date of a record.
std::string dateOf(std::int64_t time)
{
    const auto date = QDateTime::fromMSecsSinceEpoch(time, QTimeZone::utc());
    return date.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz'Z'")).toStdString();
}

constexpr std::int64_t msPerDay = 86'400'000;
constexpr std::int64_t start = 1'672'563'600'000; // 2023-01-01, 9 o'clock UTC

Record inChat(Record record, const std::string& guid, const std::string& title, std::int64_t row)
{
    record.conversationID = guid;
    record.conversationName = title;
    record.id = "mac:" + guid + ':' + std::to_string(row);
    return record;
}

Record inCrew(Record record, std::int64_t row)
{
    return inChat(std::move(record), "iMessage;+;crew", "Climbing Crew", row);
}

/// Four people take turns.
Record fromMember(const Record& record, std::int64_t index)
{
    switch (index % 4) {
    case 0:
        return fromSender(record, "Ann Lee", "+1202");
    case 1:
        return fromSender(record, "Ben", "ben@example.org");
    case 2:
        return fromSender(record, "Zoë", "+1203");
    default:
        return fromMe(record);
    }
}

/// The day of ten messages, counted from the first: every other day, but once three in a row.
std::int64_t dayOf(std::int64_t ten)
{
    return ten == 251 || ten == 252 ? 250 + ten : 2 * ten;
}

Record crewMessage(std::int64_t index)
{
    constexpr std::int64_t pause = 1'200'000; // milliseconds
    Record record = message(0, "Message " + std::to_string(index));
    record.date = dateOf(start + dayOf(index / 10) * msPerDay + index % 10 * pause);
    return inCrew(fromMember(record, index), index + 1);
}

Record crewReaction(
    std::int64_t row, std::int64_t member, const std::string& kind, const std::string& recordKind)
{
    Record record = fromMember(message(0, "Loved “Message 30”"), member);
    record.date = dateOf(start + 100 * msPerDay + row);
    record.recordKind = recordKind;
    record.reactionKind = kind;
    record.reactionTargetID = "mac:iMessage;+;crew:31";
    return inCrew(record, row);
}

/// 2,999 messages and a system line; rows begin at 1.
std::vector<Record> crew()
{
    std::vector<Record> records;
    for (std::int64_t index = 0; index < 3000; ++index)
        records.push_back(crewMessage(index));
    records[10].attachmentCount = 1;
    records[10].photoCount = 2;
    records[40].recordKind = "system";
    records[40].body = "Ann named the chat";
    records[1500].body += ": It’s rare, a rare Törtchen";
    records[2000].replyToID = records[20].id;
    records.push_back(crewReaction(5001, 0, "love", "reaction"));
    records.push_back(crewReaction(5002, 1, "like", "reaction"));
    records.push_back(crewReaction(5003, 1, "like", "reaction-removal"));
    return records;
}

std::vector<Record> records(const std::string& guid, const std::string& title, std::int64_t time,
    const std::vector<std::string>& bodies)
{
    std::vector<Record> records;
    for (const std::string& body : bodies) {
        const auto row = static_cast<std::int64_t>(records.size()) + 1;
        records.push_back(inChat(message(0, body), guid, title, row));
        records.back().date = dateOf(time + row * 1000);
        records.back().sender = title;
    }
    return records;
}

std::vector<Record> ann(std::int64_t time, const std::vector<std::string>& bodies)
{
    return records("iMessage;-;ann", "Ann Lee", time, bodies);
}

std::vector<Record> hostile()
{
    auto all = records("iMessage;-;hostile", "</script><img src=x onerror=alert(1)><!--",
        start - 900 * msPerDay,
        {std::string(1'000'000, 'x'), "</script><script>alert(2)</script>", "<!-- <script>",
            "&lt;b&gt; &amp; ]]>", "line\u2028separator\u2029end",
            "\u202eevil\u202c \u2066isolated", std::string("nul\0 and bell\a", 14),
            "javascript:alert(3)", "__proto__", "\ufeffafter a byte order mark", "שלום עולם!",
            "👩‍👩‍👧‍👦👍🏽", "the last one"});
    for (Record& record : all)
        record = fromSender(record, "Mallory <b>", "+666");
    return all;
}

} // namespace

/// The page in a real browser, and its modules on Node.js. The scripts are in page/.
class PageTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_folder.isValid());
        const fs::path folder = m_folder.path().toStdString();
        const auto file
            = [&](const std::string& name) { return folder / "chats" / (name + ".jsonl.txt"); };
        writeBytes(file("Climbing Crew (1) Korvane Wrapped"), linesOf(crew()));
        writeBytes(file("Ann Lee (2) Korvane Wrapped"),
            linesOf(ann(start - 300 * msPerDay, {"hello", "current", "how are you?", "fine"})));
        const auto older = ann(start - 400 * msPerDay, {"dropped", "kept of an older database"});
        writeBytes(file("Kept/Ann Lee (2) without epoch"), linesOf({older[1]}));
        writeBytes(file("Hostile (3) Korvane Wrapped"), linesOf(hostile()));

        PageWriter page(folder / "page.html", Files::Existing::Keep);
        for (const ArchivedChat& chat : Archive::inFolder(folder / "chats").chats) {
            const Conversation conversation(chat);
            page.write(conversation, chosenMessages(conversation, {}));
        }
        page.finish();
    }

    void modulesHaveTheTypesThatTheyState()
    {
        run({QStringLiteral(NODE_MODULES "/typescript/bin/tsc"), QStringLiteral("--project"),
            QStringLiteral(PAGE_SOURCES)});
    }

    void modulesFollowTheRules()
    {
        run({QStringLiteral(NODE_MODULES "/eslint/bin/eslint.js"), QStringLiteral("--config"),
            QStringLiteral(PAGE_SOURCES "/eslint.config.mjs"), QStringLiteral(".")});
    }

    void scriptsPass_data()
    {
        QTest::addColumn<QString>("script");
        QTest::newRow("modules without a browser") << QStringLiteral("modules");
        QTest::newRow("reading") << QStringLiteral("reading");
        QTest::newRow("scrolling, jumps and links") << QStringLiteral("moving");
        QTest::newRow("searching") << QStringLiteral("finding");
        QTest::newRow("printing") << QStringLiteral("printing");
        QTest::newRow("keyboard, screen readers and colours") << QStringLiteral("access");
        QTest::newRow("hostile texts") << QStringLiteral("hostile");
    }

    void scriptsPass()
    {
        QFETCH(QString, script);
        const QString file = QStringLiteral(PAGE_TESTS "/%1.test.mjs").arg(script);
        run({QStringLiteral("--test"), file});
    }

private:
    /// Runs Node.js with these arguments and expects exit code 0.
    void run(const QStringList& arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PAGE"), m_folder.filePath(QStringLiteral("page.html")));
        environment.insert(QStringLiteral("CHROMIUM"), QStringLiteral(CHROMIUM));
        environment.insert(QStringLiteral("NODE_MODULES"), QStringLiteral(NODE_MODULES));
        environment.insert(QStringLiteral("HOME"), m_folder.path());
        QProcess node;
        node.setProcessEnvironment(environment);
        node.setWorkingDirectory(QStringLiteral(PAGE_SOURCES));
        node.setProcessChannelMode(QProcess::MergedChannels);
        node.start(QStringLiteral(NODE), arguments);
        QVERIFY(node.waitForFinished(300'000));
        const QByteArray output = node.readAll();
        QVERIFY2(node.exitStatus() == QProcess::NormalExit && node.exitCode() == 0,
            output.right(8000).constData());
    }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(PageTest)
#include "PageTest.moc"
