#include "CannedServer.h"
#include "OfferedChat.h"

#include "support/Printing.h"
#include "text/Base64Url.h"

#include <QProcess>
#include <QSemaphore>
#include <QtTest/QTest>

using namespace korvane;

/// How `receive` takes its link, and that it does not pass the key on to anybody.
class ReceiveLinkTest : public QObject {
    Q_OBJECT

private slots:
    void linkIsAnArgumentOrALineOfInput_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("input");
        const auto row = [](const char* name, const QStringList& arguments, const char* input) {
            QTest::newRow(name) << arguments << QString::fromLatin1(input);
        };
        const QString link = QStringLiteral("LINK");
        const QString dash = QStringLiteral("-");
        row("argument", {link}, "");
        row("argument, with other input", {link}, "korvane://elsewhere\n");
        row("argument in white space", {QStringLiteral(" LINK\n")}, "");
        row("after the options", {QStringLiteral("--output"), QStringLiteral("f"), link}, "");
        row("input", {}, "LINK\n");
        row("input without a line end", {}, "LINK");
        row("input with a line end of another system", {}, "LINK\r\n");
        row("input with blanks around", {}, "  LINK \t\n");
        row("input with more lines", {}, "LINK\nmore\n");
        row("dash", {dash}, "LINK\n");
        row("dash before an option", {dash, QStringLiteral("--output=f")}, "LINK\n");
    }

    void linkIsAnArgumentOrALineOfInput()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, input);
        const OfferedChat offered;
        const QString link = QString::fromStdString(offered.link.toString());
        std::vector<std::string> words;
        for (QString& argument : arguments)
            words.push_back(argument.replace(QLatin1String("LINK"), link).toStdString());
        input.replace(QLatin1String("LINK"), link);
        const Outcome outcome = offered.recipient.receive(input.toStdString(), words);
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QCOMPARE(filesIn(".").size(), std::size_t{1});
        QVERIFY(!tellsSecrets(outcome, offered.link));
    }

    void otherTextsAreNoLinksAndAreNotRepeated_data()
    {
        QTest::addColumn<QString>("text"); // "*" stands for a key, "~" for most of one
        const auto row = [](const char* name, const char* text) {
            QTest::newRow(name) << QString::fromLatin1(text);
        };
        row("nothing", "");
        row("a blank line", " ");
        row("a word", "w*"); // a key can begin with "-", like an option
        row("no scheme", "mac-import?host=127.0.0.1&port=1&ticket=*&key=*");
        row("another scheme", "http://mac-import?host=127.0.0.1&port=1&ticket=*&key=*");
        row("another place", "korvane://elsewhere?host=127.0.0.1&port=1&ticket=*&key=*");
        row("no host", "korvane://mac-import?port=1&ticket=*&key=*");
        row("no port", "korvane://mac-import?host=127.0.0.1&ticket=*&key=*");
        row("port zero", "korvane://mac-import?host=127.0.0.1&port=0&ticket=*&key=*");
        row("port too high", "korvane://mac-import?host=127.0.0.1&port=65536&ticket=*&key=*");
        row("no ticket", "korvane://mac-import?host=127.0.0.1&port=1&key=*");
        row("ticket with a way out",
            "korvane://mac-import?host=127.0.0.1&port=1&ticket=../manifest&key=*");
        row("no key", "korvane://mac-import?host=127.0.0.1&port=1&ticket=*");
        row("longer key", "korvane://mac-import?host=127.0.0.1&port=1&ticket=*&key=**");
        row("key cut short by one", "korvane://mac-import?host=127.0.0.1&port=1&ticket=*&key=~");
    }

    void otherTextsAreNoLinksAndAreNotRepeated()
    {
        QFETCH(QString, text);
        const Recipient recipient;
        const TransferLink link = linkTo(1);
        const QString key = QString::fromStdString(toBase64Url(link.key.bytes()));
        text.replace(u'*', key).replace(u'~', key.chopped(1));
        const Outcome byInput = recipient.receive(text.toStdString());
        const Outcome byArgument = recipient.receive("", {text.toStdString()});
        for (const Outcome& outcome : {byInput, byArgument}) {
            QCOMPARE(outcome.code, 1);
            QCOMPARE(outcome.out, std::string());
            QVERIFY(outcome.err.starts_with("korvane-sync: This is not a transfer link."));
            QVERIFY(outcome.err.find(key.chopped(1).toStdString()) == std::string::npos);
        }
        QVERIFY(filesIn(".").empty());
    }

    void linkInTheWrongPlaceKeepsItsKey_data()
    {
        QTest::addColumn<QStringList>("words"); // LINK and DB are placeholders
        for (const char* words : {"receive LINK LINK", "receive --foo LINK", "receive LINK --foo",
                 "receive --LINK", "receive --output LINK LINK LINK", "receive --output= LINK",
                 "receive --output LINK/none", "LINK", "LINK receive", "transfer LINK",
                 "transfer --chat G LINK", "transfer --chat G --port LINK",
                 "transfer --database DB --chat LINK", "transfer --chat G --database LINK",
                 "transfer --database DB --chat iMessage;-;1 --contacts LINK", "chats LINK",
                 "chats --database LINK", "export --all LINK", "export --database DB --chat LINK",
                 "export --all --database DB --folder DB/LINK", "sample LINK LINK",
                 "sample LINK/none", "sample x --messages LINK"})
            QTest::newRow(words) << QString::fromLatin1(words).split(u' ');
    }

    void linkInTheWrongPlaceKeepsItsKey()
    {
        QFETCH(QStringList, words);
        const OfferedChat offered;
        const std::string link = offered.link.toString();
        std::vector<std::string> arguments;
        for (QString& word : words) {
            word.replace(QLatin1String("DB"), QString::fromStdString(offered.chat.setup.db.path()));
            word.replace(QLatin1String("LINK"), QString::fromStdString(link));
            arguments.push_back(word.toStdString());
        }
        const Outcome outcome = offered.recipient.terminal().run(arguments, link + '\n');
        QVERIFY(outcome.code != 0);
        const std::string key = toBase64Url(offered.link.key.bytes());
        const std::string printed = outcome.out + outcome.err;
        QVERIFY2(printed.find(key) == std::string::npos, printed.c_str());
    }

    void linkInTwoPiecesKeepsBothPartsOfItsKey()
    {
        const Recipient recipient;
        const TransferLink link = linkTo(1);
        const std::string text = link.toString();
        constexpr std::size_t half = 21;
        const Outcome outcome = recipient.receive(
            "", {text.substr(0, text.size() - half), text.substr(text.size() - half)});
        QVERIFY(outcome.code != 0);
        const std::string key = toBase64Url(link.key.bytes());
        QVERIFY2(outcome.err.find(key.substr(0, half)) == std::string::npos, outcome.err.c_str());
        QVERIFY2(outcome.err.find(key.substr(key.size() - half)) == std::string::npos,
            outcome.err.c_str());
    }

    void linkFromInputIsNotInTheProcessList()
    {
        const Recipient recipient;
        QSemaphore asked;
        QSemaphore seen;
        const CannedServer server([&asked, &seen](QTcpSocket&, const QByteArray&) {
            asked.release();
            seen.tryAcquire(1, 10'000);
        });
        const TransferLink link = linkTo(server.port());
        QProcess program;
        program.start(QStringLiteral(PROGRAM), {QStringLiteral("receive")});
        QVERIFY(program.waitForStarted());
        program.write(QByteArray::fromStdString(link.toString()) + '\n');
        QVERIFY(program.waitForBytesWritten());
        QVERIFY(asked.tryAcquire(1, 10'000)); // now it has read the link
        const std::string process = "/proc/" + std::to_string(program.processId());
        const std::string words = contentsOf(process + "/cmdline");
        const std::string environment = contentsOf(process + "/environ");
        seen.release(10); // for requests that the client repeats
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitCode(), 1);
        if (!QFile::exists(QStringLiteral("/proc/self/cmdline")))
            QSKIP("This system shows no processes in /proc.");
        QVERIFY(words.find("receive") != std::string::npos);
        QVERIFY(!tellsSecrets(words + environment, link));
    }
};

QTEST_GUILESS_MAIN(ReceiveLinkTest)
#include "ReceiveLinkTest.moc"
