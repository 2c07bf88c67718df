#include "Terminal.h"

#include "support/FileMode.h"
#include "support/Printing.h"

#include <QProcess>
#include <QtTest/QTest>

#include <csignal>
#include <filesystem>
#include <fstream>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

void exportSample(const Terminal& terminal, const std::string& messages)
{
    const std::string database = terminal.home() + "/chat.db";
    QCOMPARE(terminal.run({"sample", database, "--messages", messages}).code, 0);
    const Outcome outcome = terminal.run({"export", "--all", "--database", database, "--contacts",
        "none", "--folder", terminal.exports()});
    QCOMPARE(outcome.code, 0);
    fs::remove(database);
}

std::string pageOf(const Terminal& terminal)
{
    return terminal.home() + "/page.html";
}

Outcome read(const Terminal& terminal, const std::vector<std::string>& arguments)
{
    std::vector<std::string> all{
        "read", "--folder", terminal.exports(), "--html", pageOf(terminal)};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return terminal.run(all);
}

qsizetype sizeAfterGzip(const std::string& folder)
{
    QProcess shell;
    shell.start(QStringLiteral("sh"),
        {QStringLiteral("-c"), QStringLiteral("cat \"$0\"/*.txt | gzip -9"),
            QString::fromStdString(folder)});
    return shell.waitForFinished(60'000) ? shell.readAllStandardOutput().size() : 0;
}

} // namespace

/// korvane-sync read --html. What the page does is in PageTest.
class ReadPageTest : public QObject {
    Q_OBJECT

private slots:
    void pageIsForItsOwnerAlone()
    {
        const Terminal terminal;
        exportSample(terminal, "200");
        const Umask open(0);
        const Outcome outcome = read(terminal, {});
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QVERIFY(outcome.out.ends_with(" records to " + pageOf(terminal) + "\n"));
        QCOMPARE(modeOf(pageOf(terminal)), std::string("600"));
        QCOMPARE(filesIn(terminal.home()),
            (std::vector<std::string>{"exports", "page.html", "support"}));
    }

    void pageIsOverwrittenOnlyWhenToldTo()
    {
        const Terminal terminal;
        exportSample(terminal, "200");
        read(terminal, {});
        const std::string before = contentsOf(pageOf(terminal));
        const Outcome refused = read(terminal, {"--until", "2000"});
        QCOMPARE(refused.code, 1);
        QCOMPARE(refused.err,
            "korvane-sync: " + pageOf(terminal) + ": The file exists; --force overwrites it.\n");
        QVERIFY(contentsOf(pageOf(terminal)) == before);
        read(terminal, {"--until", "2000", "--force"});
        QVERIFY(contentsOf(pageOf(terminal)).size() < before.size());
    }

    void anotherFileIsNeverOverwritten_data()
    {
        QTest::addColumn<std::string>("contents");
        QTest::newRow("a letter") << std::string("Dear Ann,\n");
        QTest::newRow("a page of another program") << std::string("<!doctype html>\n<html>\n");
    }

    void anotherFileIsNeverOverwritten()
    {
        QFETCH(const std::string, contents);
        const Terminal terminal;
        exportSample(terminal, "20");
        std::ofstream(pageOf(terminal)) << contents;
        const Outcome outcome = read(terminal, {"--force"});
        QCOMPARE(outcome.code, 1);
        QVERIFY(outcome.err.find("not a page that") != std::string::npos);
        QCOMPARE(contentsOf(pageOf(terminal)), contents);
    }

    void pageIsNotWrittenIntoTheExportFolder()
    {
        const Terminal terminal;
        exportSample(terminal, "20");
        const auto before = filesIn(terminal.exports());
        const std::string file = terminal.exports() + "/page.html";
        QCOMPARE(terminal.run({"read", "--folder", terminal.exports(), "--html", file}).code, 1);
        QCOMPARE(filesIn(terminal.exports()), before);
    }

    void folderThatDoesNotExistIsNamed()
    {
        const Terminal terminal;
        exportSample(terminal, "20");
        const std::string file = terminal.home() + "/none/page.html";
        const Outcome outcome
            = terminal.run({"read", "--folder", terminal.exports(), "--html", file});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err, "korvane-sync: " + file + ": No such file or directory\n");
    }

    void pageIsNotMuchLargerThanItsCompressedRecords()
    {
        const Terminal terminal;
        exportSample(terminal, "20000");
        QCOMPARE(read(terminal, {}).code, 0);
        const auto records = static_cast<double>(sizeAfterGzip(terminal.exports()));
        QVERIFY(records > 100'000);
        const auto page = static_cast<double>(fs::file_size(pageOf(terminal)));
        QVERIFY2(page <= 1.6 * records + 200'000,
            qPrintable(QStringLiteral("%1 bytes for %2").arg(page).arg(records)));
    }

    void interruptionLeavesNothing()
    {
        const Terminal terminal;
        exportSample(terminal, "150000");
        QProcess program;
        program.start(QStringLiteral(PROGRAM),
            {QStringLiteral("read"), QStringLiteral("--folder"),
                QString::fromStdString(terminal.exports()), QStringLiteral("--html"),
                QString::fromStdString(pageOf(terminal))});
        const auto before = filesIn(terminal.home());
        QTRY_VERIFY(filesIn(terminal.home()) != before || program.state() == QProcess::NotRunning);
        ::kill(static_cast<pid_t>(program.processId()), SIGINT);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitCode(), 130);
        QCOMPARE(filesIn(terminal.home()), before);
    }
};

QTEST_GUILESS_MAIN(ReadPageTest)
#include "ReadPageTest.moc"
