#include "WindowSetup.h"

#include "pairing/ReadBack.h"
#include "support/Printing.h"

#include <QDirIterator>
#include <QProcess>
#include <QtTest/QTest>

using namespace korvane;
using namespace Qt::StringLiterals;

/// Runs the window program with --snapshot: without a display, and without leaving other files.
class SnapshotProcessTest : public WindowTest {
    Q_OBJECT

    static inline const QStringList threeNames{
        u"dropdown-access.png"_s, u"dropdown-list.png"_s, u"dropdown-qr.png"_s};

private slots:
    void picturesAreWrittenUnderAnEmptyEnvironment()
    {
        const QTemporaryDir folder;
        const QString target = folder.filePath(u"new/pictures"_s);
        QCOMPARE(run({u"--snapshot"_s, target}, {}).code, 0);
        QCOMPARE(QDir(target).entryList(QDir::Files), threeNames);
        QCOMPARE(QImage(target + u"/dropdown-list.png"_s).size(), QSize(800, 1200));
        QCOMPARE(QImage(target + u"/dropdown-qr.png"_s).size(), QSize(800, 1320));
        QCOMPARE(QImage(target + u"/dropdown-access.png"_s).size(), QSize(800, 1200));
        const auto link = readBack(QImage(target + u"/dropdown-qr.png"_s));
        QVERIFY(link && link->starts_with("https://"));
    }

    void picturesDiffer()
    {
        const QTemporaryDir folder;
        QCOMPARE(run({u"--snapshot"_s, folder.path()}, {}).code, 0);
        const QImage list(folder.filePath(threeNames[1]));
        const QImage qr(folder.filePath(threeNames[2]));
        const QImage access(folder.filePath(threeNames[0]));
        QVERIFY(list != qr);
        QVERIFY(list != access);
        QVERIFY(access != qr);
    }

    void homeStaysEmpty()
    {
        const QTemporaryDir folder;
        const QTemporaryDir home;
        const Variables variables{{u"HOME"_s, home.path()},
            {u"KORVANE_SYNC_HOME"_s, home.filePath(u"support"_s)},
            {u"XDG_CONFIG_HOME"_s, home.filePath(u"config"_s)},
            {u"XDG_DATA_HOME"_s, home.filePath(u"data"_s)}};
        QCOMPARE(run({u"--snapshot"_s, folder.path()}, variables).code, 0);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), threeNames);
        QCOMPARE(everythingIn(home.path()), QStringList());
    }

    void settingsOfTheUserDoNotShow()
    {
        const QTemporaryDir folder;
        const QTemporaryDir home;
        const Variables variables{
            {u"HOME"_s, home.path()}, {u"XDG_CONFIG_HOME"_s, home.filePath(u"config"_s)}};
        QCOMPARE(run({u"--snapshot"_s, folder.path()}, variables).code, 0);
        const QImage before(folder.filePath(threeNames[1]));
        QDir(home.path()).mkpath(u"config/KorvaneSync"_s);
        QFile settings(home.filePath(u"config/KorvaneSync/KorvaneSync.conf"_s));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.write("[General]\nautoSync=false\nfolder=/somewhere/else\nselected=a, b\n");
        settings.close();
        QCOMPARE(run({u"--snapshot"_s, folder.path()}, variables).code, 0);
        QCOMPARE(QImage(folder.filePath(threeNames[1])), before);
    }

    /// The pictures do not depend on environment variables that set up a desktop.
    void picturesDoNotDependOnTheDesktop_data()
    {
        QTest::addColumn<QString>("variable");
        QTest::addColumn<QString>("value");
        QTest::newRow("scaled") << u"QT_SCALE_FACTOR"_s << u"2"_s;
        QTest::newRow("scaled by a half") << u"QT_SCALE_FACTOR"_s << u"1.5"_s;
        QTest::newRow("fonts enlarged") << u"QT_FONT_DPI"_s << u"144"_s;
        QTest::newRow("a platform chosen") << u"QT_QPA_PLATFORM"_s << u"minimal"_s;
        QTest::newRow("a display that is not there") << u"DISPLAY"_s << u":65000"_s;
    }

    void picturesDoNotDependOnTheDesktop()
    {
        QFETCH(QString, variable);
        QFETCH(QString, value);
        const QTemporaryDir usual;
        const QTemporaryDir other;
        QCOMPARE(run({u"--snapshot"_s, usual.path()}, {}).code, 0);
        QCOMPARE(run({u"--snapshot"_s, other.path()}, {{variable, value}}).code, 0);
        for (const QString& name : threeNames)
            QCOMPARE(QImage(other.filePath(name)), QImage(usual.filePath(name)));
    }

    void folderThatCannotBeMadeIsNoError()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath(u"file"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        for (const QString& target : {file.fileName(), file.fileName() + u"/below"_s, QString()}) {
            const Outcome outcome = run({u"--snapshot"_s, target}, {});
            QCOMPARE(outcome.code, 0);
            QCOMPARE(outcome.out, QByteArray());
        }
        QCOMPARE(everythingIn(folder.path()), QStringList{file.fileName()});
    }

    void relativeFolderIsTakenFromTheWorkingDirectory()
    {
        const QTemporaryDir folder;
        QCOMPARE(run({u"--snapshot"_s, u"pictures"_s}, {}, folder.path()).code, 0);
        QCOMPARE(QDir(folder.filePath(u"pictures"_s)).entryList(QDir::Files), threeNames);
    }

    void optionWithoutAFolderStartsTheProgramAsUsual()
    {
        const QTemporaryDir folder;
        const Outcome usual = run({}, {}, folder.path());
        const Outcome outcome = run({u"--snapshot"_s}, {}, folder.path());
        QCOMPARE(outcome.code, usual.code);
        QCOMPARE(outcome.err, usual.err);
        QVERIFY(outcome.err.contains("no display")); // it starts as usual, which needs a display
        QCOMPARE(everythingIn(folder.path()), QStringList());
    }

private:
    using Variables = std::vector<std::pair<QString, QString>>;

    struct Outcome {
        int code = -1;
        QByteArray out;
        QByteArray err;
    };

    /// Runs the program with these environment variables and PATH, and no others.
    static Outcome run(
        const QStringList& arguments, const Variables& variables, const QString& folder = {})
    {
        QProcessEnvironment environment;
        environment.insert(u"PATH"_s, u"/usr/bin"_s); // QProcess would inherit for an empty one
        for (const auto& [name, value] : variables)
            environment.insert(name, value);
        QProcess program;
        program.setProcessEnvironment(environment);
        program.setWorkingDirectory(folder);
        program.start(QStringLiteral(PROGRAM), arguments);
        if (!program.waitForFinished() || program.exitStatus() != QProcess::NormalExit)
            return {};
        return {
            program.exitCode(), program.readAllStandardOutput(), program.readAllStandardError()};
    }

    static QStringList everythingIn(const QString& folder)
    {
        QStringList found;
        QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
            QDirIterator::Subdirectories);
        while (entries.hasNext())
            found += entries.next();
        return found;
    }
};

QTEST_MAIN(SnapshotProcessTest)
#include "SnapshotProcessTest.moc"
