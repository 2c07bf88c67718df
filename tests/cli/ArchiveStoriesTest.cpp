#include "Terminal.h"

#include "contacts/ContactNames.h"
#include "export/Exporter.h"
#include "support/Printing.h"
#include "support/TestDatabase.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QSysInfo>

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace korvane {

namespace fs = std::filesystem;

namespace {

using Texts = std::multiset<std::string>;

/// The texts of the records in a file, or "(torn)" for a line that is not a record.
Texts textsIn(const fs::path& file)
{
    Texts texts;
    std::istringstream lines(contentsOf(file));
    for (std::string line; std::getline(lines, line);) {
        const auto record = QJsonDocument::fromJson(QByteArray::fromStdString(line)).object();
        texts.insert(record.isEmpty() ? "(torn)" : record[u"body"].toString().toStdString());
    }
    return texts;
}

/// The texts "<name> 1" to "<name> <count>".
Texts texts(const std::string& name, int count)
{
    Texts texts;
    for (int i = 1; i <= count; ++i)
        texts.insert(name + ' ' + std::to_string(i));
    return texts;
}

/// A desktop whose session bus accepts connections but never answers.
class SilentBus {
public:
    SilentBus() : m_socket(::socket(AF_UNIX, SOCK_STREAM, 0)), m_before(qgetenv(variable))
    {
        const std::string path = m_folder.path().toStdString() + "/bus";
        sockaddr_un address{.sun_family = AF_UNIX};
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        const bool listens
            = ::bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0
            && ::listen(m_socket, 10) == 0;
        QVERIFY(listens);
        qputenv(variable, QByteArray::fromStdString("unix:path=" + path));
    }
    ~SilentBus()
    {
        qputenv(variable, m_before);
        ::close(m_socket);
    }
    Q_DISABLE_COPY_MOVE(SilentBus)

private:
    static constexpr const char* variable = "DBUS_SESSION_BUS_ADDRESS";

    const QTemporaryDir m_folder;
    const int m_socket;
    const QByteArray m_before;
};

/// A user with three contacts, each with a chat, who exports and checks all of them.
class User {
public:
    User()
    {
        nameContacts({"Ann Lee", "Bo Chen", "Cy Dahl"});
        for (int id = 1; id <= 3; ++id) {
            database.addHandle(id, number(id));
            database.addChat(id, guid(id), "", number(id));
            database.addMember(id, id);
        }
    }

    const Terminal terminal;
    TestDatabase database;

    static std::string guid(int chat) { return "iMessage;-;" + number(chat); }

    void nameContacts(const std::vector<std::string>& names) const
    {
        std::ofstream cards(contacts());
        for (std::size_t i = 0; i < names.size(); ++i)
            cards << "BEGIN:VCARD\nVERSION:3.0\nFN:" << names[i] << "\nORG:" << names[i]
                  << "\nTEL:" << number(static_cast<int>(i) + 1) << "\nEND:VCARD\n";
    }

    /// Adds the messages "<name> 1" to "<name> <count>" to the chat.
    void receive(int chat, const std::string& name, int count)
    {
        for (int i = 1; i <= count; ++i)
            database.addMessage(
                chat, {.text = name + ' ' + std::to_string(i), .date = m_date += 60});
    }

    void deleteMessages(const std::string& condition)
    {
        database.sql().execute("DELETE FROM message WHERE " + condition);
        database.sql().execute("DELETE FROM chat_message_join WHERE message_id NOT IN "
                               "(SELECT ROWID FROM message)");
    }

    /// Gives all messages new row ids from 1, in the order of their dates.
    void restoreDatabase()
    {
        database.sql().execute("UPDATE message SET ROWID = ROWID + 100000");
        database.sql().execute("UPDATE chat_message_join SET message_id = message_id + 100000");
        database.sql().execute("CREATE TABLE renumbered AS SELECT ROWID AS old, "
                               "(SELECT COUNT(*) FROM message AS other WHERE other.date <= "
                               "message.date) AS new FROM message");
        database.sql().execute("UPDATE message SET ROWID = "
                               "(SELECT new FROM renumbered WHERE old = message.ROWID)");
        database.sql().execute("UPDATE chat_message_join SET message_id = "
                               "(SELECT new FROM renumbered WHERE old = message_id)");
        database.sql().execute("DROP TABLE renumbered");
    }

    Outcome exportAll() const { return run({"export", "--all"}); }
    Outcome check() const { return run({"check", "--json"}); }
    Outcome repair() const { return run({"check", "--repair", "--yes", "--json"}); }

    /// A count of the check for one chat, or -1.
    static std::int64_t count(const Outcome& check, int chat, const char* key)
    {
        const auto chats = check.json()[u"chats"].toArray();
        for (const QJsonValue& entry : chats) {
            if (entry[u"guid"].toString().toStdString() == guid(chat))
                return entry[QLatin1String(key)].toInteger(-1);
        }
        return -1;
    }

    /// The file of the chat that was first exported under this title.
    fs::path file(int chat, const std::string& title) const
    {
        return fs::path(folder)
            / (title + " (" + std::to_string(chat) + ") Korvane Wrapped.jsonl.txt");
    }

    Texts keptTexts() const
    {
        Texts kept;
        for (const std::string& name : filesIn(folder + "/Kept"))
            kept.merge(textsIn(folder + "/Kept/" + name));
        return kept;
    }

    std::string state() const { return contentsOf(terminal.support() + "/state.json"); }

    /// All files of the export folder, with their bytes.
    std::string everything() const
    {
        std::string all;
        for (const std::string& name : filesIn(folder))
            all += name + '\n' + contentsOf(folder + '/' + name);
        for (const std::string& name : filesIn(folder + "/Kept"))
            all += name + '\n' + contentsOf(folder + "/Kept/" + name);
        return all;
    }

    bool usesDesktopContacts = false;
    std::string folder = terminal.exports();

private:
    static std::string number(int contact) { return "+1555010" + std::to_string(contact); }
    std::string contacts() const { return terminal.home() + "/contacts.vcf"; }

    Outcome run(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.end(), {"--database", database.path(), "--folder", folder});
        if (!usesDesktopContacts)
            arguments.insert(arguments.end(), {"--contacts", contacts()});
        return terminal.run(arguments);
    }

    std::int64_t m_date = 700'000'000;
};

/// What a repair has to lead to: nothing is left to do.
void verifyIntact(const User& user)
{
    const Outcome check = user.check();
    QCOMPARE(check.code, 0);
    QVERIFY(check.json()[u"whole"].toBool());
    const std::string before = user.everything();
    QCOMPARE(user.repair().code, 0);
    QCOMPARE(user.everything(), before);
}

} // namespace

/// What happened to people who keep these files as an archive: nothing is lost, and nothing is
/// there twice.
class ArchiveStoriesTest : public QObject {
    Q_OBJECT

private slots:
    void renamedContactsDoNotLoseWhatMessagesDeleted()
    {
        User user;
        user.receive(1, "old", 20);
        user.receive(2, "older", 5);
        user.receive(3, "ancient", 4);
        QCOMPARE(user.exportAll().code, 0);
        user.deleteMessages("text LIKE 'old %' OR text LIKE 'older %'");
        user.receive(1, "new", 3);
        user.receive(2, "newer", 2);
        user.nameContacts({"Ann Lee-Smith", "Bo C", "Cy D"});

        const Outcome outcome = user.exportAll();
        QCOMPARE(outcome.code, 0);
        QVERIFY(outcome.out.find("Kept 20 messages of Ann Lee that Messages no longer has: Kept/")
            != std::string::npos);
        QVERIFY(outcome.out.find("Kept 5 messages of Bo Chen that Messages no longer has: Kept/")
            != std::string::npos);
        QVERIFY(outcome.out.find("Cy D") == std::string::npos);
        QCOMPARE(textsIn(user.file(1, "Ann Lee")), texts("new", 3));
        QCOMPARE(textsIn(user.file(3, "Cy Dahl")), texts("ancient", 4));
        Texts kept = texts("old", 20);
        kept.merge(texts("older", 5));
        QCOMPARE(user.keptTexts(), kept);
        verifyIntact(user);
        QCOMPARE(user.keptTexts(), kept);
    }

    void aSilentContactStoreDoesNotCostWhatMessagesDeleted()
    {
        if (QSysInfo::kernelType() == QStringLiteral("darwin"))
            QSKIP("The contacts of a Mac are not on a bus.");
        User user;
        user.receive(1, "old", 20);
        user.receive(2, "older", 5);
        QCOMPARE(user.exportAll().code, 0);
        user.deleteMessages("text LIKE 'old %'");
        user.receive(1, "new", 3);
        const std::string files = user.everything();
        const std::string state = user.state();
        {
            const SilentBus bus;
            user.usesDesktopContacts = true;
            const Outcome outcome = user.exportAll();
            QCOMPARE(outcome.code, 1);
            QVERIFY(outcome.err.find("--contacts none") != std::string::npos);
            QCOMPARE(user.repair().code, 1);
        }
        QCOMPARE(user.everything(), files);
        QCOMPARE(user.state(), state);

        user.usesDesktopContacts = false;
        QCOMPARE(user.exportAll().code, 0);
        QCOMPARE(textsIn(user.file(1, "Ann Lee")).size(), std::size_t{23});
        QVERIFY(!fs::exists(user.folder + "/Kept"));
    }

    void aSilentContactStoreLetsNoPhoneDownloadEverythingAgain()
    {
        if (QSysInfo::kernelType() == QStringLiteral("darwin"))
            QSKIP("The contacts of a Mac are not on a bus.");
        User user;
        user.receive(1, "text", 20);
        QCOMPARE(user.exportAll().code, 0);
        const std::string files = user.everything();
        const std::string state = user.state();
        {
            const SilentBus bus;
            user.usesDesktopContacts = true;
            QCOMPARE(user.exportAll().code, 1);
        }
        user.usesDesktopContacts = false;
        QCOMPARE(user.exportAll().code, 0);
        QCOMPARE(user.everything(), files);
        QCOMPARE(user.state(), state); // and with it, all epochs
    }

    void aNewMacWhoseRowIDsStartAgainIsNoticed()
    {
        User user;
        user.receive(1, "old", 30);
        user.receive(2, "older", 10);
        QCOMPARE(user.exportAll().code, 0);
        const std::string files = user.everything();
        user.deleteMessages("text LIKE 'old %' AND ROWID < 21");
        user.receive(1, "new", 4);
        user.restoreDatabase();

        const Outcome outcome = user.exportAll();
        QCOMPARE(outcome.code, 1);
        QVERIFY(outcome.err.find("a different Messages database") != std::string::npos);
        const std::size_t explanation = outcome.err.find("check --repair");
        QVERIFY(explanation != std::string::npos);
        QVERIFY(outcome.err.find("KORVANE_SYNC_HOME") != std::string::npos);
        QCOMPARE(outcome.err.find("check --repair", explanation + 1), std::string::npos);
        QVERIFY(outcome.err.find("Bo Chen: The file is from a different Messages database, too.")
            != std::string::npos);
        QCOMPARE(user.everything(), files);

        QVERIFY(user.check().code == 1);
        QCOMPARE(user.repair().code, 0);
        QCOMPARE(textsIn(user.file(1, "Ann Lee")).size(), std::size_t{14});
        QCOMPARE(textsIn(user.file(2, "Bo Chen")), texts("older", 10));
        const Texts kept = user.keptTexts();
        for (const std::string& text : texts("old", 30))
            QVERIFY(kept.contains(text));
        verifyIntact(user);
        QVERIFY(user.exportAll().out.starts_with("Nothing new."));
    }

    void anExportFolderThatIsChangedBackHasAGapThatIsFound()
    {
        User user;
        user.receive(1, "before", 5);
        QCOMPARE(user.exportAll().code, 0);
        const std::string first = user.folder;
        user.folder += "-b";
        QCOMPARE(user.exportAll().code, 0);
        user.receive(1, "between", 7);
        QCOMPARE(user.exportAll().code, 0);
        user.folder = first;
        user.receive(1, "after", 2);
        QCOMPARE(user.exportAll().code, 0);
        QCOMPARE(textsIn(user.file(1, "Ann Lee")).size(), std::size_t{7});

        const Outcome check = user.check();
        QCOMPARE(check.code, 1);
        QCOMPARE(User::count(check, 1, "records"), 7);
        QCOMPARE(User::count(check, 1, "missing"), 7);
        QCOMPARE(user.repair().code, 0);
        QCOMPARE(textsIn(user.file(1, "Ann Lee")).size(), std::size_t{14});
        QVERIFY(!fs::exists(user.folder + "/Kept"));
        verifyIntact(user);
    }

    void aTruncatedFileIsFoundAndWrittenAgain()
    {
        User user;
        user.receive(1, "text", 50);
        user.receive(2, "other", 5);
        QCOMPARE(user.exportAll().code, 0);
        const fs::path file = user.file(1, "Ann Lee");
        const std::string whole = contentsOf(file);
        const std::string other = contentsOf(user.file(2, "Bo Chen"));
        const auto lineSize = whole.find('\n') + 1;
        fs::resize_file(file, 12 * lineSize); // lines of two-digit messages are longer
        QCOMPARE(user.exportAll().code, 0);

        const Outcome check = user.check();
        QCOMPARE(check.code, 1);
        QCOMPARE(User::count(check, 1, "records"), 11);
        QCOMPARE(User::count(check, 1, "torn"), 1);
        QCOMPARE(User::count(check, 1, "missing"), 39);
        QCOMPARE(user.repair().code, 0);
        QCOMPARE(contentsOf(file), whole);
        QCOMPARE(contentsOf(user.file(2, "Bo Chen")), other);
        verifyIntact(user);
    }

    void aMessageThatJoinsItsChatLateIsFound()
    {
        User user;
        user.receive(1, "text", 5);
        user.database.addMessage(0, {.text = "late", .date = 700'000'100});
        user.receive(1, "newer", 2);
        QCOMPARE(user.exportAll().code, 0);
        user.database.sql().execute(
            "INSERT INTO chat_message_join SELECT 1, ROWID FROM message WHERE text = 'late'");
        QVERIFY(user.exportAll().out.starts_with("Nothing new."));

        const Outcome check = user.check();
        QCOMPARE(check.code, 1);
        QCOMPARE(User::count(check, 1, "missing"), 1);
        QCOMPARE(User::count(check, 1, "records"), 7);
        QCOMPARE(user.repair().code, 0);
        QVERIFY(textsIn(user.file(1, "Ann Lee")).contains("late"));
        verifyIntact(user);
    }

    void editedAndUnsentMessagesAndTextsThatCameLateAreFound()
    {
        User user;
        user.receive(1, "text", 5);
        user.database.addMessage(1, {.text = std::nullopt, .date = 700'001'000});
        QCOMPARE(user.exportAll().code, 0);
        user.database.sql().execute("UPDATE message SET text = 'edited' WHERE text = 'text 2'");
        user.database.sql().execute("UPDATE message SET text = NULL WHERE text = 'text 4'");
        user.database.sql().execute("UPDATE message SET text = 'came late' WHERE date = 700001000");

        const Outcome check = user.check();
        QCOMPARE(check.code, 1);
        QCOMPARE(User::count(check, 1, "changed"), 3);
        QCOMPARE(user.repair().code, 0);
        const Texts now = textsIn(user.file(1, "Ann Lee"));
        QCOMPARE(now, (Texts{"text 1", "edited", "text 3", "", "text 5", "came late"}));
        const Texts kept = user.keptTexts();
        QVERIFY(kept.contains("text 2"));
        QVERIFY(kept.contains("text 4"));
        verifyIntact(user);
    }

    void aLostStateLeavesEveryRecordTwiceUntilTheRepair()
    {
        User user;
        user.receive(1, "text", 9);
        QCOMPARE(user.exportAll().code, 0);
        fs::remove(user.terminal.support() + "/state.json");
        QCOMPARE(user.check().code, 0); // the files are found without it
        QCOMPARE(user.exportAll().code, 0);

        const Outcome check = user.check();
        QCOMPARE(check.code, 1);
        QCOMPARE(User::count(check, 1, "doubled"), 9);
        QCOMPARE(user.repair().code, 0);
        QCOMPARE(textsIn(user.file(1, "Ann Lee")), texts("text", 9));
        QVERIFY(!fs::exists(user.folder + "/Kept"));
        verifyIntact(user);
    }

    void aKilledExportLeavesNoRecordTwice()
    {
        User user;
        user.receive(1, "a", 9);
        user.receive(2, "b", 9);
        user.receive(3, "c", 9);
        const pid_t child = ::fork();
        if (child == 0) {
            int chats = 0;
            Exporter::sync(MessagesDB(user.database.path()).chats(), {}, user.folder,
                SupportFolder(user.terminal.support()), user.database.path(),
                [&chats](const ChatInfo&) { return ++chats < 3 || ::raise(SIGKILL) == 0; });
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(filesIn(user.folder).size(), std::size_t{2});

        QCOMPARE(user.exportAll().code, 0);
        Texts all;
        for (const std::string& name : filesIn(user.folder))
            all.merge(textsIn(user.folder + '/' + name));
        Texts expected = texts("a", 9);
        expected.merge(texts("b", 9));
        expected.merge(texts("c", 9));
        QCOMPARE(all, expected);
        verifyIntact(user);
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::ArchiveStoriesTest)
#include "ArchiveStoriesTest.moc"
