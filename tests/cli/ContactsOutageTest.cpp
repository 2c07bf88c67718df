#include "Terminal.h"

#include "contacts/FilledStore.h"
#include "contacts/PrivateDesktop.h"
#include "export/Exporter.h"
#include "support/Printing.h"
#include "support/TestDatabase.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QtTest/QTest>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>

using namespace korvane;

/// A desktop whose contact store stops answering for a while. Nothing may be exported meanwhile:
/// without names every chat would be renamed, and its file started from scratch.
class ContactsOutageTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (!PrivateDesktop::isInstalled())
            QSKIP("needs the packages evolution-data-server and dbus");
    }

    void init()
    {
        m_desktop = std::make_unique<PrivateDesktop>();
        m_store = std::make_unique<FilledStore>();
        m_store->addNumberedCards(2);
        m_terminal = std::make_unique<Terminal>(); // last: it sets HOME
        m_database = std::make_unique<TestDatabase>();
        addChat(1, FilledStore::phoneNumber(0));
        addChat(2, FilledStore::phoneNumber(1));
    }

    void cleanup()
    {
        m_printed.clear();
        m_database.reset();
        m_terminal.reset();
        m_store.reset();
        m_desktop.reset();
    }

    void contactsMissingForOneRunChangeNothing()
    {
        QCOMPARE(run({"export", "--all"}).code, 0);
        const Files before = files();
        m_database->addMessage(1, "one more");
        {
            const Stopped store(m_store->booksProcess());
            const Outcome silent = run({"export", "--all"});
            QCOMPARE(silent.code, 1);
            QCOMPARE(silent.out, std::string("Nothing added.\n"));
            QCOMPARE(silent.err, "korvane-sync: " + std::string(complaint) + "\n");
        }
        QVERIFY(files() == before);

        QCOMPARE(run({"export", "--all"}).out,
            "Added 1 message to 1 chat in " + m_terminal->exports() + "\n");
        const Files after = files();
        QCOMPARE(after.size(), before.size());
        for (const auto& [name, contents] : before)
            QVERIFY2(name == "state.json" || after.at(name).starts_with(contents), name.c_str());
        QCOMPARE(epochsOf(after), epochsOf(before));
    }

    void firstRunWithoutContactsWritesNothing_data()
    {
        QTest::addColumn<std::vector<std::string>>("arguments");
        using Words = std::vector<std::string>;
        QTest::newRow("export") << Words{"export", "--all"};
        QTest::newRow("export again and again") << Words{"export", "--all", "--every", "0.1"};
        QTest::newRow("transfer") << Words{"transfer", "--chat", "G1", "--host", "127.0.0.1"};
    }

    void firstRunWithoutContactsWritesNothing()
    {
        QFETCH(const std::vector<std::string>, arguments);
        const Stopped store(m_store->booksProcess());
        const Outcome outcome = run(arguments);
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err, "korvane-sync: " + std::string(complaint) + "\n");
        QVERIFY(!std::filesystem::exists(m_terminal->exports()));
        QVERIFY(!std::filesystem::exists(m_terminal->support() + "/state.json"));
    }

    void errorIsInTheJsonToo()
    {
        const Stopped store(m_store->booksProcess());
        const Outcome outcome = run({"export", "--all", "--json"});
        QCOMPARE(outcome.json()[QStringLiteral("errors")].toArray(),
            QJsonArray{QString::fromUtf8(complaint)});
    }

    void laterRunOfManyFailsAloneAndTheNextGoesOn()
    {
        QProcess program;
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(QStringLiteral(PROGRAM), words({"export", "--all", "--every", "0.2"}));
        QTRY_VERIFY(printedBy(program).contains("Added 2 messages"));
        const Files before = files();
        {
            const Stopped store(m_store->booksProcess());
            m_database->addMessage(1, "one more");
            QTRY_VERIFY_WITH_TIMEOUT(printedBy(program).contains("does not answer"), 20'000);
            QVERIFY(files() == before);
        }
        QTRY_VERIFY_WITH_TIMEOUT(printedBy(program).contains("Added 1 message"), 20'000);
        QCOMPARE(epochsOf(files()), epochsOf(before));
        program.terminate();
        QVERIFY(program.waitForFinished());
    }

    void chatsAreListedWithAWarning()
    {
        const Stopped store(m_store->booksProcess());
        const Outcome outcome = run({"chats"});
        QCOMPARE(outcome.code, 0);
        QVERIFY(outcome.out.find(FilledStore::phoneNumber(0)) != std::string::npos);
        QCOMPARE(outcome.err,
            std::string("korvane-sync: Some names may be missing: the address book \"Personal\" "
                        "does not answer.\n"));
    }

    void bareNumbersCanBeChosen()
    {
        const Stopped store(m_store->booksProcess());
        const Outcome outcome = run({"export", "--all", "--contacts", "none"});
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QVERIFY(allFileNames().find(FilledStore::phoneNumber(0)) != std::string::npos);
    }

    void fileCalledNoneHasAPath()
    {
        std::ofstream("none") << "BEGIN:VCARD\nVERSION:3.0\nN:;Ann;;;\nTEL:"
                              << FilledStore::phoneNumber(0) << "\nEND:VCARD\n";
        const Outcome chosen = run({"chats", "--contacts", "./none"});
        const Outcome none = run({"chats", "--contacts", "none"});
        std::filesystem::remove("none");
        QVERIFY(chosen.out.find("Ann") != std::string::npos);
        QVERIFY(none.out.find("Ann") == std::string::npos);
        QCOMPARE(none.code, 0);
    }

private:
    using Files = std::map<std::string, std::string>; ///< contents by name

    static constexpr auto complaint
        = "The contacts cannot be read completely: the address book \"Personal\" does not answer. "
          "Without their names, files would be begun anew. Try again, name other contacts with "
          "--contacts FILE, or write bare numbers with --contacts none.";

    void addChat(std::int64_t id, const std::string& handle)
    {
        m_database->addHandle(id, handle);
        m_database->addChat(id, "G" + std::to_string(id), "", handle);
        m_database->addMember(id, id);
        m_database->addMessage(id, "hello");
    }

    std::vector<std::string> withSources(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.end(), {"--database", m_database->path()});
        if (arguments.front() != "chats")
            arguments.insert(arguments.end(), {"--folder", m_terminal->exports()});
        return arguments;
    }

    Outcome run(const std::vector<std::string>& arguments) const
    {
        return m_terminal->run(withSources(arguments));
    }

    QStringList words(const std::vector<std::string>& arguments) const
    {
        QStringList words;
        for (const std::string& argument : withSources(arguments))
            words << QString::fromStdString(argument);
        return words;
    }

    const QByteArray& printedBy(QProcess& program)
    {
        return m_printed += program.readAllStandardOutput();
    }

    /// The export files and the state file.
    Files files() const
    {
        Files files{{"state.json", contentsOf(m_terminal->support() + "/state.json")}};
        for (const std::string& name : filesIn(m_terminal->exports()))
            files[name] = contentsOf(m_terminal->exports() + "/" + name);
        return files;
    }

    std::string allFileNames() const
    {
        std::string all;
        for (const std::string& name : filesIn(m_terminal->exports()))
            all += name + '\n';
        return all;
    }

    static std::vector<QString> epochsOf(const Files& files)
    {
        const auto state
            = QJsonDocument::fromJson(QByteArray::fromStdString(files.at("state.json")));
        std::vector<QString> epochs;
        for (const QJsonValue& chat : state[QStringLiteral("chats")].toObject())
            epochs.push_back(chat[QStringLiteral("epoch")].toString());
        return epochs;
    }

    std::unique_ptr<PrivateDesktop> m_desktop;
    std::unique_ptr<FilledStore> m_store;
    std::unique_ptr<Terminal> m_terminal;
    std::unique_ptr<TestDatabase> m_database;
    QByteArray m_printed;
};

QTEST_GUILESS_MAIN(ContactsOutageTest)
#include "ContactsOutageTest.moc"
