#include "reader/SqliteWriter.h"
#include "docs/Page.h"
#include "reader/Conversation.h"
#include "reader/Records.h"
#include "support/FileMode.h"
#include "support/Printing.h"

#include <QDir>
#include <QTemporaryDir>

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <numeric>
#include <random>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

using Existing = Files::Existing;
using Texts = std::vector<std::string>;

Selection everything(const Conversation& conversation)
{
    Selection all(conversation.messages().size());
    std::iota(all.begin(), all.end(), 0U);
    return all;
}

/// The first column of all rows, as text.
Texts answers(const fs::path& database, const std::string& sql)
{
    Sqlite connection = Sqlite::openReadOnly(database.string());
    Sqlite::Statement rows(connection, sql);
    Texts texts;
    while (rows.step())
        texts.emplace_back(rows.text(0).value_or("NULL"));
    return texts;
}

std::string answer(const fs::path& database, const std::string& sql)
{
    std::string joined;
    for (const std::string& text : answers(database, sql))
        joined += joined.empty() ? text : ' ' + text;
    return joined;
}

std::optional<std::string> optionalText(const Sqlite::Statement& row, int column)
{
    const auto text = row.text(column);
    return text ? std::optional(std::string(*text)) : std::nullopt;
}

/// The records in the tables, in the order of their dates and row ids.
std::vector<Record> recordsIn(const fs::path& database)
{
    const std::string columns
        = "SELECT attachmentCount, body, conversationID, conversationName, date, id, isOutgoing,"
          " photoCount, recordKind, sender, senderID, textUnavailable,";
    const std::string sql = "SELECT * FROM (" + columns
        + " replyToID, NULL, NULL FROM message JOIN chat USING (chatKey) UNION ALL " + columns
        + " NULL, reactionKind, reactionTargetID FROM reaction JOIN chat USING (chatKey))"
          " ORDER BY date, CAST(substr(id, 7) AS INTEGER)"; // after "mac:c:"
    Sqlite connection = Sqlite::openReadOnly(database.string());
    Sqlite::Statement row(connection, sql);
    std::vector<Record> records;
    while (row.step()) {
        records.push_back({
            .attachmentCount = row.integer(0),
            .body = std::string(row.text(1).value()),
            .conversationID = std::string(row.text(2).value()),
            .conversationName = std::string(row.text(3).value()),
            .date = std::string(row.text(4).value()),
            .id = std::string(row.text(5).value()),
            .isOutgoing = row.integer(6) == 1,
            .photoCount = row.isNull(7) ? std::nullopt : std::optional(row.integer(7)),
            .reactionKind = optionalText(row, 13),
            .reactionTargetID = optionalText(row, 14),
            .recordKind = optionalText(row, 8),
            .replyToID = optionalText(row, 12),
            .sender = std::string(row.text(9).value()),
            .senderID = optionalText(row, 10),
            .textUnavailable = row.integer(11) == 1,
        });
    }
    return records;
}

/// What SQLite's own checks find: of the file, the foreign keys and the full-text index.
std::string faults(const fs::path& database)
{
    Sqlite connection = Sqlite::openForWriting(database.string());
    try { // throws if the index does not match the table
        connection.execute("INSERT INTO message_fts (message_fts, rank)"
                           " VALUES ('integrity-check', 1)");
    } catch (const DBError& error) {
        return error.message;
    }
    return answer(database, "PRAGMA integrity_check")
        + answer(database, "SELECT \"table\" FROM pragma_foreign_key_check");
}

/// One of each kind, with every key.
std::vector<Record> everyKind()
{
    Record photos = fromMe(message(2, ""));
    photos.attachmentCount = 1;
    photos.photoCount = 3;
    Record old = message(7, "from an old database");
    old.recordKind.reset();
    old.senderID.reset();
    return {message(1), photos, reply(3, 1), systemLine(4), reaction(5, 1, "laugh"),
        fromMe(removal(6, 1, "laugh")), old};
}

/// Some of the text cut out, copied and overwritten.
std::string damaged(std::string text, std::mt19937& random)
{
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    for (int i = 0; i < 4; ++i) {
        text.erase(below(text.size()), below(100));
        text.insert(below(text.size()), text.substr(below(text.size()), below(500)));
        text[below(text.size())] = static_cast<char>(random());
    }
    return text;
}

/// While it lives, files of this process cannot grow beyond `size` bytes.
class SmallFiles {
public:
    explicit SmallFiles(rlim_t size)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{size, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SmallFiles() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    SmallFiles(const SmallFiles&) = delete;
    SmallFiles& operator=(const SmallFiles&) = delete;

private:
    rlimit m_before{};
};

} // namespace

/// The tables that are made of conversations, looked at with SQLite.
class SqliteWriterTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void everyRecordIsInOneTableWithAllItsKeys()
    {
        const std::vector<Record> records = everyKind();
        writeTables({linesOf(records)});
        QVERIFY(recordsIn(database()) == records);
        QCOMPARE(answer(database(), "SELECT count(*) FROM message"), std::string("5"));
        QCOMPARE(answer(database(), "SELECT count(*) FROM reaction"), std::string("2"));
        QCOMPARE(faults(database()), std::string("ok"));
    }

    void textsAreStoredAsTheyAre_data()
    {
        QTest::addColumn<std::string>("body");
        QTest::newRow("NUL") << std::string("a\0b", 3);
        QTest::newRow("quotation marks") << std::string("it's \"so\"; DROP TABLE chat; --");
        QTest::newRow("line breaks") << std::string("a\r\n\n\u2028b");
        QTest::newRow("bidi override") << std::string("\u202Etxt.exe");
        QTest::newRow("noncharacter") << std::string("\uFFFE \U0010FFFF");
        QTest::newRow("a long word") << std::string(2'000'000, 'x');
    }

    void textsAreStoredAsTheyAre()
    {
        QFETCH(const std::string, body);
        const std::vector<Record> records{message(1, body), message(2)};
        writeTables({linesOf(records)});
        QVERIFY(recordsIn(database()) == records);
        QCOMPARE(faults(database()), std::string("ok"));
    }

    void keysLeadToTheTargets()
    {
        Record early = reply(2, 9); // dated before its target
        writeTables({linesOf({message(1), early, message(9), reaction(10, 2), reply(11, 10),
            reaction(12, 99), removal(13, 2)})});
        QCOMPARE(answer(database(), "SELECT replyToKey FROM message ORDER BY messageKey"),
            std::string("NULL 3 NULL NULL")); // a reaction is no message that one can reply to
        QCOMPARE(answer(database(), "SELECT reactionTargetKey FROM reaction ORDER BY reactionKey"),
            std::string("2 NULL 2"));
        QCOMPARE(answer(database(), "SELECT reactionTargetID FROM reaction WHERE reactionKey = 2"),
            std::string("mac:c:99"));
        QCOMPARE(faults(database()), std::string("ok"));
    }

    void chatsFollowOneAnother()
    {
        const Conversation first = conversation({linesOf({message(1), reaction(2, 1)})});
        const Conversation second = conversation({linesOf({message(1), reply(2, 1)})});
        const Conversation empty = conversation({""});
        SqliteWriter writer(database(), Existing::Keep);
        writer.write(first, everything(first));
        writer.write(empty, {});
        writer.write(second, everything(second));
        writer.finish();
        QCOMPARE(answer(database(), "SELECT chatKey FROM chat"), std::string("1 2"));
        QCOMPARE(answer(database(), "SELECT chatKey || '/' || messageKey FROM message"),
            std::string("1/1 2/2 2/3"));
        QCOMPARE(answer(database(), "SELECT replyToKey FROM message ORDER BY messageKey"),
            std::string("NULL NULL 2"));
        QCOMPARE(answer(database(), "SELECT reactionTargetKey FROM reaction"), std::string("1"));
        QCOMPARE(faults(database()), std::string("ok"));
    }

    void onlyChosenRecordsAreWritten()
    {
        const Conversation read
            = conversation({linesOf({message(1), reply(2, 1), reaction(3, 1), reaction(4, 2)})});
        SqliteWriter writer(database(), Existing::Keep);
        writer.write(read, {1, 2, 3});
        writer.finish();
        QCOMPARE(answer(database(), "SELECT id || ' ' || coalesce(replyToKey, '-') FROM message"),
            std::string("mac:c:2 -"));
        QCOMPARE(answer(database(), "SELECT coalesce(reactionTargetKey, '-') FROM reaction"),
            std::string("- 1"));
        QCOMPARE(faults(database()), std::string("ok"));
    }

    void sameIDsInFilesOfTwoDatabasesAreApart()
    {
        Record other = message(1, "of another database");
        other.date = "2019-01-01T00:00:00.000Z";
        Record itsReaction = reaction(2, 1);
        itsReaction.date = "2019-01-02T00:00:00.000Z";
        writeTables({linesOf({message(1, "current"), reaction(3, 1)}),
            linesOf({message(1, "current"), message(4)}), linesOf({other, itsReaction})});
        QCOMPARE(answer(database(), "SELECT count(*) FROM message WHERE id = 'mac:c:1'"),
            std::string("2"));
        QCOMPARE(answers(database(),
                     "SELECT message.body FROM reaction"
                     " JOIN message ON messageKey = reactionTargetKey ORDER BY reaction.id"),
            (Texts{"of another database", "current"}));
        QCOMPARE(faults(database()), std::string("ok"));
    }

    void damagedAndDoubledFilesGiveSoundTables()
    {
        const std::string lines = linesOf(everyKind());
        writeTables(
            {lines + lines.substr(0, 700) + lines + "{\"a\":1}\n\xff\n" + lines.substr(0, 99),
                lines.substr(50)});
        QVERIFY(recordsIn(database()) == everyKind());
        QCOMPARE(faults(database()), std::string("ok"));
    }

    void anyDamageGivesSoundTables()
    {
        std::mt19937 random(7); // the same damage each time
        const std::string lines = linesOf(everyKind());
        for (int i = 0; i < 50; ++i) {
            const Conversation read
                = conversation({damaged(lines + lines, random), damaged(lines, random)});
            SqliteWriter writer(database(), Existing::Replace);
            writer.write(read, everything(read));
            writer.finish();
            QCOMPARE(faults(database()), std::string("ok"));
            QCOMPARE(recordsIn(database()).size(), read.messages().size());
        }
    }

    void searchFindsWordsWithoutRegardToCaseAndAccents()
    {
        writeTables({linesOf({message(1, "Einen Kaffee?"), message(2, "Im CAFÉ, um drei."),
            reaction(3, 2), message(4, "coffee"), systemLine(5, "Ann named the chat Café")})});
        const auto found = [this](const char* words) {
            return answer(database(),
                std::string("SELECT id FROM message_fts JOIN message ON messageKey ="
                            " message_fts.rowid WHERE message_fts MATCH '")
                    + words + "' ORDER BY id");
        };
        QCOMPARE(found("cafe"), std::string("mac:c:2 mac:c:5"));
        QCOMPARE(found("cof*"), std::string("mac:c:4"));
        QCOMPARE(found("um drei"), std::string("mac:c:2"));
        QCOMPARE(found("hello"), std::string());
    }

    void schemaIsThatOfThePage()
    {
        writeTables({});
        std::string schema;
        for (const std::string& sql : answers(database(),
                 "SELECT sql FROM sqlite_master WHERE sql IS NOT NULL"
                 " AND name NOT LIKE 'message_fts_%' ORDER BY rowid"))
            schema += sql + ";\n";
        const QString page = textOfPage(QStringLiteral(SQLITE_PAGE));
        const QString shown
            = page.section(QStringLiteral("```sql\n"), 1, 1).section(QStringLiteral("```"), 0, 0);
        QCOMPARE(QString::fromStdString(schema), shown);
        QCOMPARE(answer(database(), "PRAGMA application_id"), std::to_string(0x4B6F7276));
        QCOMPARE(answer(database(), "PRAGMA user_version"), std::string("1"));
    }

    void databaseIsForItsOwnerAlone()
    {
        const Umask nobody(0);
        writeTables({linesOf({message(1)})});
        QCOMPARE(modeOf(database()), std::string("600"));
        QCOMPARE(names(), (QStringList{QStringLiteral("0"), QStringLiteral("all.db")}));
    }

    void databaseAppearsWhenItIsComplete()
    {
        const Conversation read = conversation({linesOf({message(1)})});
        {
            SqliteWriter writer(database(), Existing::Keep);
            writer.write(read, everything(read));
            QVERIFY(!fs::exists(database()));
            QCOMPARE(names().size(), 2);
        }
        QCOMPARE(names(), QStringList{QStringLiteral("0")});
    }

    void databaseThatExistsIsKeptUntilTheNewOneIsComplete()
    {
        writeTables({linesOf({message(1)})});
        QCOMPARE(refusal(Existing::Keep), "The file exists; --force overwrites it.");
        {
            SqliteWriter incomplete(database(), Existing::Replace);
            QCOMPARE(answer(database(), "SELECT count(*) FROM message"), std::string("1"));
        }
        QCOMPARE(answer(database(), "SELECT count(*) FROM message"), std::string("1"));
        SqliteWriter(database(), Existing::Replace).finish();
        QCOMPARE(answer(database(), "SELECT count(*) FROM message"), std::string("0"));
        QCOMPARE(names(), (QStringList{QStringLiteral("0"), QStringLiteral("all.db")}));
    }

    void fileThatAppearsMeanwhileIsKept()
    {
        SqliteWriter writer(database(), Existing::Keep);
        writeBytes(database(), "mine");
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, writer.finish());
        QCOMPARE(Files::read(database()), std::optional<std::string>("mine"));
    }

    void emptyFileIsReplaced()
    {
        writeBytes(database(), "");
        SqliteWriter(database(), Existing::Replace).finish();
        QCOMPARE(faults(database()), std::string("ok"));
    }

    void otherFilesAreNeverReplaced_data()
    {
        QTest::addColumn<std::string>("sql");
        QTest::addColumn<std::string>("bytes");
        QTest::newRow("text") << std::string() << std::string(1000, 'K');
        QTest::newRow("short text") << std::string() << std::string("notes");
        QTest::newRow("another database")
            << std::string("CREATE TABLE message (a)") << std::string();
        QTest::newRow("a database of another program")
            << std::string("PRAGMA application_id = 7; CREATE TABLE message (a)") << std::string();
    }

    void otherFilesAreNeverReplaced()
    {
        QFETCH(const std::string, sql);
        QFETCH(const std::string, bytes);
        if (sql.empty())
            writeBytes(database(), bytes);
        else
            Sqlite::openForWriting(database().string()).execute(sql);
        const auto before = Files::read(database());
        QCOMPARE(refusal(Existing::Replace),
            "This file is not a database that \"read --sqlite\" wrote, so it is not overwritten. "
            "Remove it, or name another file.");
        QCOMPARE(Files::read(database()), before);
        QCOMPARE(names(), QStringList{QStringLiteral("all.db")});
    }

    void foldersPipesAndLinksAreNeverReplaced()
    {
        fs::create_directory(database());
        QVERIFY(!refusal(Existing::Replace).empty());
        QVERIFY(fs::is_directory(database()));
        fs::remove(database());
        QCOMPARE(::mkfifo(database().c_str(), 0600), 0);
        QVERIFY(!refusal(Existing::Replace).empty());
        fs::remove(database());
        writeBytes(path("target"), "");
        fs::create_symlink(path("target"), database());
        QVERIFY(!refusal(Existing::Replace).empty());
        QVERIFY(fs::is_symlink(database()));
    }

    void databaseThatIsInUseIsNotReplaced()
    {
        SqliteWriter(database(), Existing::Keep).finish();
        Sqlite user = Sqlite::openForWriting(database().string());
        user.execute("PRAGMA journal_mode = WAL; CREATE TABLE notes (a)");
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, SqliteWriter(database(), Existing::Replace));
        QCOMPARE(answer(database(), "SELECT count(*) FROM notes"), std::string("0"));
    }

    void journalOfAnEarlierDatabaseIsNotTakenForItsOwn()
    {
        writeBytes(path("all.db-journal"), "journal");
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, SqliteWriter(database(), Existing::Keep));
        QCOMPARE(names(), QStringList{QStringLiteral("all.db-journal")});
    }

    void databaseThatDoesNotFitLeavesNothing_data()
    {
        QTest::addColumn<int>("megabytes");
        QTest::newRow("when it is completed") << 1; // until then, its pages are in memory
        QTest::newRow("while rows are written") << 100;
    }

    void databaseThatDoesNotFitLeavesNothing()
    {
        QFETCH(const int, megabytes);
        std::vector<Record> records;
        for (int i = 0; i < megabytes; ++i)
            records.push_back(message(i, std::string(1'000'000, 'x')));
        const Conversation read = conversation({linesOf(records)});
        const SmallFiles limit(200'000);
        try {
            SqliteWriter writer(database(), Existing::Keep);
            writer.write(read, everything(read));
            QCOMPARE(megabytes, 1);
            writer.finish();
            QFAIL("The database was completed.");
        } catch (const std::runtime_error& error) {
            QCOMPARE(std::string(error.what()), database().string() + ": disk I/O error");
        }
        QCOMPARE(names(), QStringList{QStringLiteral("0")});
    }

    void folderThatDoesNotExistIsNamed()
    {
        try {
            const SqliteWriter writer(path("no/all.db"), Existing::Keep);
            QFAIL("It was written.");
        } catch (const std::runtime_error& error) {
            QCOMPARE(std::string(error.what()),
                path("no/all.db").string() + ": No such file or directory");
        }
    }

private:
    fs::path path(const char* name) const
    {
        return m_folder->filePath(QString::fromUtf8(name)).toStdString();
    }

    fs::path database() const { return path("all.db"); }

    QStringList names() const
    {
        return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }

    /// A chat with these files: the first one is current, the others are in Kept.
    Conversation conversation(const Texts& files) const
    {
        ArchivedChat chat{.guid = "c", .title = "Team", .number = "1"};
        for (const std::string& text : files) {
            const std::string name = std::to_string(chat.files.size());
            writeBytes(path(name.c_str()), text);
            chat.files.push_back(
                {path(name.c_str()), static_cast<std::int64_t>(text.size()), !chat.files.empty()});
        }
        return Conversation(chat);
    }

    void writeTables(const Texts& files) const
    {
        const Conversation read = conversation(files);
        SqliteWriter writer(database(), Existing::Keep);
        writer.write(read, everything(read));
        writer.finish();
    }

    /// Why the database may not be written, without its name; "" if it may.
    std::string refusal(Existing existing) const
    {
        try {
            const SqliteWriter writer(database(), existing);
            return "";
        } catch (const std::runtime_error& error) {
            return std::string(error.what()).substr(database().string().size() + 2);
        }
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(SqliteWriterTest)
#include "SqliteWriterTest.moc"
