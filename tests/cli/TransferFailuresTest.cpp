#include "RunningTransfer.h"

#include "server/RunningServer.h"
#include "server/Transfer.h"
#include "storage/SupportLock.h"
#include "support/Printing.h"

#include <QtTest/QTest>

#include <csignal>
#include <filesystem>

using namespace korvane;

/// Errors that prevent a transfer.
class TransferFailuresTest : public QObject {
    Q_OBJECT

private slots:
    void chatThatIsNotThere()
    {
        const Owner owner;
        fails(owner, {"--chat", "nobody"}, "There is no chat with the guid nobody.");
    }

    void databaseThatIsNotThere()
    {
        const Owner owner;
        const Outcome outcome
            = owner.terminal.run({"transfer", "--chat", "G1", "--database", "/no/such.db"});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.starts_with("korvane-sync: /no/such.db: "), outcome.err.c_str());
    }

    void contactsThatAreNotThere()
    {
        const Owner owner;
        fails(owner, {"--contacts", "/no/such.vcf"}, "/no/such.vcf: There are no contacts here.");
    }

    void folderThatCannotBeMade()
    {
        const Owner owner;
        writeFile(owner.terminal.exports(), "a file in the way");
        failsAsTheExportDoes(owner);
    }

    void fileThatCannotBeWritten()
    {
        const Owner owner;
        std::filesystem::create_directories(owner.file() / "full");
        failsAsTheExportDoes(owner);
        fails(owner, {}, "Error: Team: Is a directory");
    }

    void chatThatWasNeverExportedHasNoFile()
    {
        const ExportedChat chat;
        const std::string guid = ExportSetup::guid(1);
        QCOMPARE(Transfer::exportedFile(chat.setup.folder(), guid, chat.setup.support()),
            chat.fileName());
        throws(Transfer::Text::noExport, [&] {
            Transfer::exportedFile(chat.setup.folder(), ExportSetup::guid(2), chat.setup.support());
        });
        std::filesystem::remove(chat.setup.file(1));
        throws(Transfer::Text::noExport,
            [&] { Transfer::exportedFile(chat.setup.folder(), guid, chat.setup.support()); });
        QCOMPARE(std::string(Transfer::Text::noExport),
            std::string("The Korvane text export could not be found"));
    }

    void linkNeedsAnAddressAndJustOneChatOnOffer()
    {
        const ExportedChat chat;
        RunningServer running(chat.setup.support());
        const auto link = [&](const std::optional<std::string>& host) {
            return Transfer::createLink(running.server(), chat.fileName(), 49152, host);
        };
        throws(Transfer::Text::noLink, [&] { link("192.168.1.20"); });
        chat.offer(running.server());
        throws(Transfer::Text::noLink, [&] { link(std::nullopt); });
        QVERIFY(running.server().state().transferTickets.empty()); // a refusal leaves no ticket
        QVERIFY(link("192.168.1.20")
                    .toString()
                    .starts_with("korvane://mac-import?host=192.168.1.20&port=49152&ticket="));
        running.server().offer({ExportSetup::guid(1), "G2"}, chat.setup.folder());
        throws(Transfer::Text::noLink, [&] { link("192.168.1.20"); });
        QCOMPARE(std::string(Transfer::Text::noLink),
            std::string("Could not create a transfer link. Check Wi-Fi and select one chat."));
    }

    void chatWithoutMessagesIsNoChat()
    {
        Owner owner;
        owner.database.addChat(2, "G2", "Silence", "chat2", 43);
        fails(owner, {"--chat", "G2"}, "There is no chat with the guid G2.");
    }

    void fileOver64MiBIsRefused()
    {
        const Owner owner;
        owner.exportAndResize(67'108'865);
        fails(owner, {},
            "This export is over 64 MB. Choose a smaller date range before transferring.");
    }

    void fileThatGrowsOver64MiBWithItsNewMessagesIsRefused()
    {
        Owner owner;
        owner.exportAndResize(67'108'800);
        owner.database.addMessage(1, "more than sixty-four bytes, as every record is");
        fails(owner, {},
            "This export is over 64 MB. Choose a smaller date range before transferring.");
    }

    void fileOfJust64MiBIsHandedOver()
    {
        const Owner owner;
        constexpr qsizetype size = 67'108'864;
        owner.exportAndResize(size);
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        const Response response = get(running.link().port, running.link().target());
        QCOMPARE(response.status, 200);
        QCOMPARE(response.body.size(), sealedSize(size));
    }

    void addressTooLongForACode()
    {
        const Owner owner;
        fails(owner, {"--host", std::string(3000, 'x')}, "Could not draw the transfer QR code");
    }

    void anotherExportIsRunning()
    {
        const Owner owner;
        const SupportLock lock(SupportFolder(owner.terminal.support()));
        const Outcome outcome = owner.terminal.run(owner.words());
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.out, std::string());
        QVERIFY2(outcome.err.starts_with("korvane-sync: Another export is running ("),
            outcome.err.c_str());
        QVERIFY(!std::filesystem::exists(owner.terminal.exports()));
    }

    void failureLetsTheNextExportRun()
    {
        const Owner owner;
        fails(owner, {"--chat", "nobody"}, "There is no chat with the guid nobody.");
        QCOMPARE(owner.exportChat().code, 0);
    }

    void commandLineThatMakesNoSense_data()
    {
        QTest::addColumn<QStringList>("words");
        QTest::addColumn<QString>("says");
        const auto row = [](const char* name, const char* words, const char* says) {
            QTest::newRow(name) << QString::fromLatin1(words).split(u' ')
                                << QString::fromLatin1(says);
        };
        row("no chat", "transfer", "--chat");
        row("chat without a guid", "transfer --chat", "--chat");
        row("two chats", "transfer --chat G1 G2", "G2");
        row("address without a name", "transfer --chat G1 --host=", "--host");
        row("address that no link can have", "transfer --chat G1 --host a/b", "--host");
        row("port that is no number", "transfer --chat G1 --port http", "--port");
        row("port out of range", "transfer --chat G1 --port 65536", "--port");
        row("negative port", "transfer --chat G1 --port=-1", "--port");
        row("folder without a name", "transfer --chat G1 --folder=", "--folder");
    }

    void commandLineThatMakesNoSense()
    {
        QFETCH(QStringList, words);
        QFETCH(QString, says);
        const Owner owner;
        std::vector<std::string> arguments;
        for (const QString& word : words)
            arguments.push_back(word.toStdString());
        const Outcome outcome = owner.terminal.run(arguments);
        QCOMPARE(outcome.code, 2);
        QVERIFY2(outcome.err.find(says.toStdString()) != std::string::npos, outcome.err.c_str());
    }

private:
    template <typename Action>
    static void throws(const std::string& text, Action action)
    {
        std::string thrown;
        try {
            action();
        } catch (const TransferError& error) {
            thrown = error.what();
        }
        QCOMPARE(thrown, text);
    }

    static void fails(
        const Owner& owner, const std::vector<std::string>& more, const std::string& text)
    {
        const Outcome outcome = owner.terminal.run(owner.words(more));
        QCOMPARE(outcome.err, "korvane-sync: " + text + '\n');
        QCOMPARE(outcome.out, std::string());
        QCOMPARE(outcome.code, 1);
    }

    /// `transfer` fails with the first error of `export`, after "Error: ".
    static void failsAsTheExportDoes(const Owner& owner)
    {
        const Outcome exported = owner.exportChat();
        QCOMPARE(exported.code, 1);
        const std::string marked = "korvane-sync: ";
        QVERIFY(exported.err.starts_with(marked));
        const std::string first = exported.err.substr(0, exported.err.find('\n'));
        fails(owner, {}, "Error: " + first.substr(marked.size()));
    }
};

QTEST_GUILESS_MAIN(TransferFailuresTest)
#include "TransferFailuresTest.moc"
