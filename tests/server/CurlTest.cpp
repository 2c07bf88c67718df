#include "server/RunningServer.h"

#include "support/Printing.h"
#include "support/SealedByOthers.h"

#include <QProcess>
#include <QStandardPaths>
#include <QtTest/QTest>

using namespace korvane;

/// Runs curl, an independent client, against the server.
class CurlTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("curl")).isEmpty())
            QSKIP("curl is not installed");
        m_chat.emplace();
        m_running = std::make_unique<RunningServer>(m_chat->setup.support());
        m_chat->offer(m_running->server());
    }

    void cleanupTestCase()
    {
        m_running.reset();
        m_chat.reset();
    }

    void refusalsAreTheseBytes_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("withToken");
        QTest::addColumn<QByteArray>("answer");
        const auto add = [](const char* name, const char* options, const char* target,
                             bool withToken, const char* answer) {
            QTest::newRow(name) << QString::fromUtf8(options).split(
                QLatin1Char(' '), Qt::SkipEmptyParts)
                                << QString::fromUtf8(target) << withToken << refusal(answer);
        };
        add("no token", "", "/v1/manifest", false, "401 Unauthorized");
        add("unknown path", "", "/v1/nothing", true, "404 Not Found");
        add("unknown ticket", "", "/v1/transfer/abc", false, "410 Transfer Expired");
        add("HTTP/1.0", "--http1.0", "/v1/transfer/abc", false, "410 Transfer Expired");
        add("HEAD", "--head", "/v1/manifest", true, "405 Method Not Allowed");
        add("POST with a body", "--data a=b", "/v1/manifest", true, "405 Method Not Allowed");
        add("POST in pieces", "-H Transfer-Encoding:chunked --data a=b", "/", true,
            "405 Method Not Allowed");
        add("PUT", "-X PUT", "/v1/manifest", true, "405 Method Not Allowed");
        add("method in lower case", "-X get", "/v1/manifest", true, "405 Method Not Allowed");
        add("asterisk", "--request-target *", "/", true, "404 Not Found");
        add("absolute target", "--request-target http://h/v1/manifest", "/", true, "404 Not Found");
        add("dots as sent", "--path-as-is", "/v1/files/../manifest", true, "404 Not Found");
    }

    void refusalsAreTheseBytes()
    {
        QFETCH(const QStringList, options);
        QFETCH(const QString, target);
        QFETCH(const bool, withToken);
        QFETCH(const QByteArray, answer);
        const Outcome outcome = curl(QStringList{QStringLiteral("-i")} + options
            + (withToken ? authorized() : QStringList()) + QStringList{url(target)});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.output, answer);
    }

    void largeBodyGetsItsRefusal()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("body"));
        writeFile(file.toStdString(), std::string(1'000'000, 'x'));
        const Outcome outcome = curl({QStringLiteral("-i"), QStringLiteral("-H"),
            QStringLiteral("Expect:"), QStringLiteral("--data-binary"), QLatin1Char('@') + file,
            url(QStringLiteral("/v1/manifest"))});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.output, refusal("405 Method Not Allowed"));
    }

    void manifestIsFetched_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("plain") << QStringList();
        QTest::newRow("HTTP/1.0") << QStringList{QStringLiteral("--http1.0")};
        QTest::newRow("asking for HTTP/2") << QStringList{QStringLiteral("--http2")};
        QTest::newRow("many headers") << QStringList(QStringList(400, QStringLiteral("-HX: y")));
    }

    void manifestIsFetched()
    {
        QFETCH(const QStringList, options);
        const Outcome outcome
            = curl(options + authorized() + QStringList{url(QStringLiteral("/v1/manifest"))});
        QCOMPARE(outcome.code, 0);
        const auto text = SealedByOthers::open(m_running->key(), outcome.output, "/v1/manifest");
        QVERIFY(text);
        QVERIFY(text->startsWith("{\"chats\":[{"));
    }

    void transferLandsInAFile()
    {
        constexpr int size = 9'000'000;
        m_chat->resize(size);
        const auto issued = m_running->server().issueTransfer(m_chat->fileName());
        QVERIFY(issued);
        const std::string target = "/v1/transfer/" + issued->ticket;
        const QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("sealed"));
        const Outcome outcome = curl({QStringLiteral("-o"), file, QStringLiteral("-w"),
            QStringLiteral("%{http_code} %{size_download} %{num_redirects}"),
            url(QString::fromStdString(target))});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.output, "200 " + QByteArray::number(sealedSize(size)) + " 0");
        const std::string sealed = readFile(file.toStdString());
        const auto text = SealedByOthers::open(issued->key.bytes(),
            QByteArrayView(sealed.data(), static_cast<qsizetype>(sealed.size())), target);
        QVERIFY(text);
        QVERIFY(text->toStdString() == m_chat->contents());
    }

    void fileIsNamedByTheServer()
    {
        const QTemporaryDir folder;
        const std::string target = m_running->targetFor(m_chat->fileName());
        const Outcome outcome = curl({QStringLiteral("-OJ"), QStringLiteral("--output-dir"),
            folder.path(), url(QString::fromStdString(target))});
        QCOMPARE(outcome.code, 0);
        QVERIFY(QFile::exists(folder.filePath(QStringLiteral("Korvane-History.txt"))));
    }

    void severalOverOneInvocationEachGetTheirOwnConnection()
    {
        const QString target = url(QStringLiteral("/v1/transfer/abc"));
        const Outcome outcome = curl({QStringLiteral("-i"), target, target, target});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.output, refusal("410 Transfer Expired").repeated(3));
    }

private:
    std::optional<ExportedChat> m_chat;
    std::unique_ptr<RunningServer> m_running;

    /// What curl printed, and its exit code.
    struct Outcome {
        int code = -1;
        QByteArray output;
    };

    QString url(const QString& target) const
    {
        return QStringLiteral("http://127.0.0.1:%1%2").arg(m_running->port()).arg(target);
    }

    static Outcome curl(const QStringList& arguments)
    {
        constexpr int timeout = 20'000;
        QProcess process;
        process.start(QStringLiteral("curl"),
            QStringList{QStringLiteral("-sS"), QStringLiteral("--noproxy"), QStringLiteral("*"),
                QStringLiteral("--max-time"), QStringLiteral("10")}
                + arguments);
        if (!process.waitForFinished(timeout))
            return {};
        return {process.exitCode(), process.readAllStandardOutput()};
    }

    /// The options "-H" and "Authorization: …".
    QStringList authorized() const
    {
        const QString line = QString::fromStdString(m_running->authorization()).trimmed();
        return {QStringLiteral("-H"), line};
    }

    static QByteArray refusal(const QByteArray& statusAndReason)
    {
        return "HTTP/1.1 " + statusAndReason
            + "\r\nContent-Length: 0\r\nConnection: close\r\nCache-Control: no-store\r\n\r\n";
    }
};

QTEST_GUILESS_MAIN(CurlTest)
#include "CurlTest.moc"
