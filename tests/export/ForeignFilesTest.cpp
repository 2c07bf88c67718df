#include "export/ForeignFiles.h"
#include "export/ExportSetup.h"
#include "export/FileName.h"
#include "support/Printing.h"

#include <functional>

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t ann = 1;
constexpr std::int64_t club = 2;
const std::string torn = "{\"attachmentCount\":0,\"bo";
constexpr int exported = 40; // messages of Ann, with the row ids 1, 3, 5, …, 79

/// A date of a message that the other database has and this one does not.
std::int64_t otherDate(std::int64_t rowID)
{
    return 750'000'000 + rowID;
}

/// Two chats whose messages alternate, exported.
class Scene : public ExportSetup {
public:
    explicit Scene(TestDatabase::Schema schema = TestDatabase::Schema::Current)
        : ExportSetup(schema)
    {
        db.addHandle(1, "+15550100");
        db.addHandle(2, "+15550177");
        addChat(ann, "Ann Lee");
        addChat(club, "Book Club");
        db.sql().execute("BEGIN");
        for (int i = 0; i < exported; ++i) {
            db.addMessage(ann, "to Ann " + std::to_string(i));
            db.addMessage(club, "to the club " + std::to_string(i));
        }
        db.sql().execute("COMMIT");
        sync();
    }

    bool isForeign() const
    {
        MessagesDB messages(db.path());
        return ForeignFiles::find(chats, ExportState::load(support()), folder(), messages,
            [](const ChatInfo& chat) {
                return Exporter::exportFileName(chat.displayName, chat.id);
            })
            .contains(guid(ann));
    }

    void run(const std::string& sql) { db.sql().execute(sql); }

    /// Deletes messages as Messages does.
    void remove(const std::string& condition)
    {
        run("DELETE FROM message WHERE " + condition);
        run("DELETE FROM chat_message_join WHERE message_id NOT IN (SELECT ROWID FROM message)");
    }

    /// Replaces all messages: another database that knows the same chats.
    void removeAll() { remove("TRUE"); }

    void addOther(std::int64_t chat, std::int64_t rowID, const std::string& text = "new")
    {
        db.addMessage(chat, {.rowID = rowID, .text = text, .date = otherDate(rowID)});
    }

    void changeFile(const std::function<std::string(std::string)>& change) const
    {
        writeFile(file(ann), change(readFile(file(ann))));
    }
};

/// The part of `lines` with the lines from `first` on, at most `count`.
std::string linesFrom(const std::string& lines, int first, int count)
{
    std::size_t start = 0;
    for (int i = 0; i < first; ++i)
        start = lines.find('\n', start) + 1;
    std::size_t end = start;
    for (int i = 0; i < count && end < lines.size(); ++i)
        end = lines.find('\n', end) + 1;
    return lines.substr(start, end - start);
}

using Change = void (*)(Scene&);

QTestData& row(const char* name, Change change)
{
    return QTest::newRow(name) << change;
}

} // namespace

/// Which files count as written from a different database.
class ForeignFilesTest : public QObject {
    Q_OBJECT

private slots:
    void aDifferentDatabaseIsNoticed_data()
    {
        QTest::addColumn<Change>("change");
        row("a new Mac: row ids begin again, fewer messages", [](Scene& s) {
            s.removeAll();
            for (int id = 1; id <= 9; ++id)
                s.addOther(ann, id);
        });
        row("a new Mac: the row ids of this chat went to another one", [](Scene& s) {
            s.removeAll();
            for (int id = 1; id <= 80; ++id)
                s.addOther(id % 2 == 1 ? club : ann, id);
        });
        row("a new Mac: none of the row ids in the file exist", [](Scene& s) {
            s.removeAll();
            for (int id = 2; id <= 20; id += 2)
                s.addOther(ann, id);
        });
        row("a new Mac: its only message has the row id of one in the middle of the file",
            [](Scene& s) {
                s.removeAll();
                s.addOther(ann, 15);
            });
        row("an old backup, in which the newest message took the row id of the last one",
            [](Scene& s) {
                s.remove("ROWID >= 79");
                s.addOther(ann, 79);
            });
        row("an old backup, in which the last row id belongs to another chat", [](Scene& s) {
            s.remove("ROWID >= 77");
            s.addOther(club, 79);
        });
        row("an old backup, and new messages take row ids of the last eight", [](Scene& s) {
            s.remove("ROWID >= 70");
            s.addOther(ann, 71);
        });
        row("an old backup, and new messages take other row ids than the file has", [](Scene& s) {
            s.remove("ROWID >= 50");
            for (int id = 50; id <= 60; id += 2)
                s.addOther(ann, id);
        });
        row("a phone's backup with row ids far above", [](Scene& s) {
            s.removeAll();
            for (int id = 1; id <= 300; ++id)
                s.addOther(id % 3 == 0 ? ann : club, id);
        });
        row("only the first record is of another database", [](Scene& s) {
            s.run("UPDATE message SET text = 'other', date = date + 5 WHERE ROWID = 1");
        });
        row("only records in the middle are of another database", [](Scene& s) {
            s.run("UPDATE message SET text = 'other', date = date + 5"
                  " WHERE ROWID BETWEEN 25 AND 59");
        });
        row("only the last record is of another database", [](Scene& s) {
            s.run("UPDATE message SET text = 'other', date = date + 5 WHERE ROWID = 79");
        });
        row("only the sender differs", [](Scene& s) {
            s.run("UPDATE message SET handle_id = 2, date = date + 2 WHERE ROWID = 79");
        });
        row("only the direction differs", [](Scene& s) {
            s.run("UPDATE message SET is_from_me = 1, date = date + 2 WHERE ROWID = 79");
        });
        row("only the direction in the file differs", [](Scene& s) {
            s.run("UPDATE message SET date = date + 2");
            s.changeFile([](auto bytes) {
                return QString::fromStdString(bytes)
                    .replace(QStringLiteral("g\":false"), QStringLiteral("g\":true"))
                    .toStdString();
            });
        });
        row("the last eight records are gone, and a message not in the file is the newest",
            [](Scene& s) {
                s.remove("ROWID >= 65");
                s.addOther(ann, 78);
            });
        row("a file of three records, and none of them exists", [](Scene& s) {
            s.changeFile([](auto bytes) { return linesFrom(bytes, 37, 3); });
            s.removeAll();
            s.addOther(ann, 2);
        });
        row("a new Mac: none of the row ids exist, and the chat has another one", [](Scene& s) {
            s.removeAll();
            s.run("UPDATE chat SET ROWID = 9 WHERE ROWID = 1");
            s.chats[0].id = 9;
            s.addOther(9, 2);
        });
        row("the sender is unknown", [](Scene& s) {
            s.run("UPDATE message SET handle_id = 0, date = date + 2 WHERE ROWID = 79");
        });
        row("the end of the file is torn", [](Scene& s) {
            s.removeAll();
            s.addOther(ann, 79);
            s.changeFile([](auto bytes) { return bytes + torn; });
        });
        row("the last line is garbage", [](Scene& s) {
            s.removeAll();
            s.addOther(ann, 79);
            s.changeFile([](auto bytes) { return bytes + "garbage\n"; });
        });
        row("a renamed contact does not hide it", [](Scene& s) {
            s.removeAll();
            s.addOther(ann, 79);
            s.chats[0].displayName = "Ann Miller";
        });
        row("the state is lost", [](Scene& s) {
            s.removeAll();
            s.addOther(ann, 79);
            fs::remove(s.stateFile());
        });
        row("the records have an older form", [](Scene& s) {
            s.removeAll();
            s.addOther(ann, 79);
            ChatState old = s.record(ann);
            old.formatVersion = currentFormatVersion - 1;
            s.setRecord(ann, old);
        });
    }

    void aDifferentDatabaseIsNoticed()
    {
        QFETCH(Change, change);
        Scene scene;
        QVERIFY(!scene.isForeign());
        change(scene);
        QVERIFY(scene.isForeign());
    }

    void theSameDatabaseIsRecognised_data()
    {
        QTest::addColumn<Change>("change");
        row("nothing happened", [](Scene&) {});
        row("new messages", [](Scene& s) { s.addMessages(ann, 20); });
        row("the old messages were deleted", [](Scene& s) { s.remove("ROWID < 60"); });
        row("all but the newest message were deleted", [](Scene& s) { s.remove("ROWID < 79"); });
        row("the newest messages were deleted", [](Scene& s) { s.remove("ROWID >= 40"); });
        row("all messages were deleted", [](Scene& s) { s.removeAll(); });
        row("all messages were deleted, and a new one came", [](Scene& s) {
            s.removeAll();
            s.addOther(ann, 81);
        });
        row("every message was edited",
            [](Scene& s) { s.run("UPDATE message SET text = 'edited'"); });
        row("every message was unsent", [](Scene& s) { s.run("UPDATE message SET text = NULL"); });
        row("the dates were corrected",
            [](Scene& s) { s.run("UPDATE message SET date = date + 3"); });
        row("the dates were corrected by a second, and the texts came late",
            [](Scene& s) { s.run("UPDATE message SET date = date - 1, text = 'late'"); });
        row("dates became nanoseconds",
            [](Scene& s) { s.run("UPDATE message SET date = date * 1000000000"); });
        row("the text moved to the attributed body, and the date changed", [](Scene& s) {
            s.run("UPDATE message SET text = NULL, date = date + 3, attributedBody = "
                  "CAST('NSString' || x'019484012B' || char(length(text)) || text AS BLOB)");
        });
        row("the sender's address is spelled differently",
            [](Scene& s) { s.run("UPDATE handle SET id = 'tel:' || id"); });
        row("a late message", [](Scene& s) {
            s.remove("ROWID = 78");
            s.addOther(ann, 78);
        });
        row("a late message, and the last record was deleted", [](Scene& s) {
            s.remove("ROWID >= 78");
            s.addOther(ann, 78);
        });
        row("a late message, and the last seven records were deleted", [](Scene& s) {
            s.remove("ROWID >= 67");
            s.addOther(ann, 78);
        });
        row("the state is older than the file", [](Scene& s) {
            s.remove("ROWID >= 50");
            s.addOther(ann, 50);
            ChatState old = s.record(ann);
            old.lastRowID = 30;
            s.setRecord(ann, old);
        });
        row("the chat was merged into another one",
            [](Scene& s) { s.run("UPDATE chat_message_join SET chat_id = 2 WHERE chat_id = 1"); });
        row("the chat was merged into another one, and has one late message", [](Scene& s) {
            s.run("UPDATE chat_message_join SET chat_id = 2 WHERE chat_id = 1");
            s.remove("ROWID = 42");
            s.addOther(ann, 42);
        });
        row("another chat was merged into this one",
            [](Scene& s) { s.run("UPDATE chat_message_join SET chat_id = 1"); });
        row("a renamed contact", [](Scene& s) { s.chats[0].displayName = "Ann Miller"; });
        row("the chat has another row id", [](Scene& s) {
            s.run("UPDATE chat SET ROWID = 9 WHERE ROWID = 1");
            s.run("UPDATE chat_message_join SET chat_id = 9 WHERE chat_id = 1");
            s.chats[0].id = 9;
        });
        row("old messages came back from the cloud", [](Scene& s) {
            s.removeAll();
            for (int i = 0; i < exported; ++i)
                s.db.addMessage(ann, {.rowID = 100 + i, .date = 700'000'000 + i});
        });
        row("the file was cut off", [](Scene& s) {
            s.changeFile([](auto bytes) { return bytes.substr(0, bytes.size() / 3); });
        });
        row("the file was cut off, and what is left of it was deleted", [](Scene& s) {
            s.changeFile([](auto bytes) { return linesFrom(bytes, 0, 12); });
            s.remove("ROWID < 60");
        });
        row("the file lost its beginning", [](Scene& s) {
            s.changeFile([](auto bytes) { return bytes.substr(bytes.size() / 3); });
        });
        row("an old copy of the file, in a folder that is used again", [](Scene& s) {
            s.addMessages(ann, 30);
            const std::string old = readFile(s.file(ann));
            s.sync();
            writeFile(s.file(ann), old);
        });
        row("an old copy of the file, whose messages were all deleted", [](Scene& s) {
            s.addMessages(ann, 30);
            const std::string old = readFile(s.file(ann));
            s.sync();
            writeFile(s.file(ann), old);
            s.remove("ROWID < 90");
        });
        row("the file has every record twice",
            [](Scene& s) { s.changeFile([](auto bytes) { return bytes + bytes; }); });
        row("the end of the file is torn",
            [](Scene& s) { s.changeFile([](auto bytes) { return bytes + torn; }); });
        row("a torn record was appended to", [](Scene& s) {
            s.changeFile([](auto bytes) {
                return linesFrom(bytes, 0, 39) + torn + linesFrom(bytes, 39, 1);
            });
        });
        row("the newest messages were deleted, and the newest one left is not among the last in "
            "the file",
            [](Scene& s) {
                s.changeFile([](auto bytes) {
                    return linesFrom(bytes, 39, 1) + linesFrom(bytes, 20, 19)
                        + linesFrom(bytes, 0, 20);
                });
                s.remove("ROWID < 60 OR ROWID > 70");
            });
        row("the file is missing", [](Scene& s) { fs::remove(s.file(ann)); });
    }

    void theSameDatabaseIsRecognised()
    {
        QFETCH(Change, change);
        Scene scene;
        change(scene);
        QVERIFY(!scene.isForeign());
    }

    void aLinkIsNotFollowed()
    {
        Scene scene;
        scene.removeAll();
        scene.addOther(ann, 79);
        QVERIFY(scene.isForeign());
        const fs::path file = scene.file(ann);
        fs::rename(file, scene.folder() / "moved");
        fs::create_symlink("moved", file);
        QVERIFY(!scene.isForeign());
    }

    void aDatabaseWithDatesInItsJoinTableIsRecognised()
    {
        Scene scene;
        scene.run("ALTER TABLE chat_message_join ADD COLUMN message_date INTEGER");
        scene.run("UPDATE chat_message_join SET message_date ="
                  " (SELECT date FROM message WHERE ROWID = message_id)");
        scene.remove("ROWID >= 50");
        QVERIFY(!scene.isForeign());
        scene.db.addMessage(0, {.rowID = 50, .date = otherDate(50)});
        scene.run(
            "INSERT INTO chat_message_join VALUES (1, 50, " + std::to_string(otherDate(50)) + ")");
        QVERIFY(scene.isForeign());
    }

    void oldSchemasAreCompared()
    {
        Scene scene(TestDatabase::Schema::Old);
        QVERIFY(!scene.isForeign());
        scene.remove("ROWID >= 79");
        scene.addOther(ann, 79);
        QVERIFY(scene.isForeign());
    }

    void aDatabaseThatCannotBeReadIsNoSign()
    {
        Scene scene;
        scene.removeAll();
        scene.addOther(ann, 79);
        MessagesDB messages(scene.db.path());
        scene.run("ALTER TABLE message RENAME TO messages");
        QVERIFY(ForeignFiles::find(
            scene.chats, ExportState::load(scene.support()), scene.folder(), messages, {})
                    .empty());
    }

    void aChatThatCannotBeReadHidesNoOther()
    {
        Scene scene;
        scene.removeAll();
        scene.addOther(ann, 79);
        scene.run("ALTER TABLE message RENAME TO stored");
        scene.run(
            "CREATE VIEW message AS SELECT ROWID, text, attributedBody, handle_id, is_from_me,"
            " CASE ROWID WHEN 2 THEN abs(-9223372036854775807 - 1) ELSE date END AS date"
            " FROM (SELECT ROWID, * FROM stored UNION SELECT 2, * FROM stored)");
        std::swap(scene.chats[0], scene.chats[1]);
        QVERIFY(scene.isForeign());
    }

    void aForeignFileIsLeftAlone()
    {
        Scene scene;
        scene.removeAll();
        scene.addOther(ann, 79);
        scene.addOther(ann, 200);
        scene.addOther(club, 300);
        scene.chats[0].displayName = "Ann Miller";
        const std::string bytes = readFile(scene.file(ann));
        const ChatState before = scene.record(ann);

        const SyncResult result = scene.sync();
        QCOMPARE(describe(result), "added 1, touched 1; Ann Miller: "s + ForeignFiles::explanation);
        QCOMPARE(result.foreignChats, 1);
        QCOMPARE(readFile(scene.file(ann)), bytes);
        QVERIFY(scene.record(ann) == before);
    }

    void aForeignFileIsLeftAloneWithoutItsState()
    {
        Scene scene;
        fs::remove(scene.stateFile());
        QVERIFY(!scene.isForeign()); // the history is appended once more
        scene.removeAll();
        scene.addOther(ann, 79);
        scene.addOther(club, 300);
        const fs::path file = scene.folder() / Exporter::exportFileName("Ann Lee", ann);
        const std::string bytes = readFile(file);
        QCOMPARE(
            describe(scene.sync()), "added 1, touched 1; Ann Lee: "s + ForeignFiles::explanation);
        QCOMPARE(readFile(file), bytes);
    }

    void aFileOfAChatWithTheSameNameAndNumberIsLeftAlone()
    {
        Scene scene;
        fs::remove(scene.stateFile());
        scene.run("UPDATE chat SET guid = 'other' WHERE ROWID = " + std::to_string(ann));
        scene.chats[0].guid = "other";
        const fs::path file = scene.folder() / Exporter::exportFileName("Ann Lee", ann);
        const std::string bytes = readFile(file);
        QCOMPARE(scene.sync().foreignChats, 1);
        QCOMPARE(readFile(file), bytes);
    }

    /// On a new Mac, whose chats have been exported again already.
    void aChatWhoseNameIsThatOfAnotherChatsFileGetsAnotherName()
    {
        Scene scene;
        scene.run("UPDATE chat SET guid = 'other' WHERE ROWID = " + std::to_string(ann));
        scene.chats[0].guid = "other";
        const fs::path file = scene.folder() / Exporter::exportFileName("Ann Lee", ann);
        const std::string bytes = readFile(file);
        QCOMPARE(describe(scene.sync()), "added 40, touched 1"s);
        QCOMPARE(readFile(file), bytes);
        const fs::path another = scene.folder() / "Ann Lee (1) 2 Korvane Wrapped.jsonl.txt";
        QCOMPARE(rowIDsIn(readFile(another)).size(), std::size_t{exported});
        QCOMPARE(describe(scene.sync()), "added 0, touched 0"s);
    }

    void aCallerCanExportNevertheless_data()
    {
        QTest::addColumn<bool>("restart");
        QTest::newRow("the chat is to be restarted") << true;
        QTest::newRow("the database is not to be checked") << false;
    }

    void aCallerCanExportNevertheless()
    {
        QFETCH(bool, restart);
        Scene scene;
        scene.removeAll();
        scene.addOther(ann, 79);
        scene.addOther(ann, 200);
        SyncMode mode;
        mode.checkDatabase = restart;
        if (restart)
            mode.restart.insert(ExportSetup::guid(ann));
        const SyncResult result = Exporter::sync(
            scene.chats, scene.names, scene.folder(), scene.support(), scene.db.path(), {}, mode);
        QCOMPARE(result.foreignChats, 0);
        QVERIFY(result.errors.empty());
        QVERIFY(result.added > 0);
    }

    /// The database is another one here, but the file does not show it.
    void aFileThatCannotBeComparedIsNoSign_data()
    {
        QTest::addColumn<std::string>("bytes");
        const std::string huge(8'000'000, 'x');
        const std::string id = "\"id\":\"mac:" + ExportSetup::guid(ann) + ":79\"";
        QTest::newRow("empty") << ""s;
        QTest::newRow("line feeds") << std::string(100'000, '\n');
        QTest::newRow("one torn line") << "{\"attachmentCount\":0,"s;
        QTest::newRow("text") << "Dear diary,\nnothing happened.\n"s;
        QTest::newRow("binary") << std::string("\0\xff\n\x01\n\0\n", 7) + std::string(5000, '\0');
        QTest::newRow("a huge line without a line feed") << huge;
        QTest::newRow("a huge line") << huge + '\n';
        QTest::newRow("an id alone") << "{" + id + "}\n";
        QTest::newRow("an id with a date before it")
            << ",\"date\":\"2030-01-01T00:00:00.000Z\"," + id + "\n";
        QTest::newRow("an id with a short line before it") << "Z\"," + id + "\n";
        QTest::newRow("a number without end")
            << "\",\"id\":\"mac:" + ExportSetup::guid(ann) + ":" + std::string(5000, '9') + "\n";
        QTest::newRow("nesting without end") << std::string(500'000, '[') + "\n";
    }

    void aFileThatCannotBeComparedIsNoSign()
    {
        QFETCH(std::string, bytes);
        Scene scene;
        scene.removeAll();
        scene.addOther(ann, 79);
        QVERIFY(scene.isForeign());
        writeFile(scene.file(ann), bytes);
        QVERIFY(!scene.isForeign());
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::ForeignFilesTest)
#include "ForeignFilesTest.moc"
