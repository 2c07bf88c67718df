#include "WindowSetup.h"

#include "pairing/ReadBack.h"
#include "support/Printing.h"

#include <QDirIterator>
#include <QProcess>
#include <QtTest/QTest>

using namespace korvane;

/// Runs the window program with --snapshot: without a display, and without leaving other files.
class SnapshotProcessTest : public WindowTest {
    Q_OBJECT

private slots:
    void picturesAreWrittenUnderAnEmptyEnvironment()
    {
        const QTemporaryDir folder;
        const QString target = folder.filePath(QStringLiteral("new/pictures"));
        QCOMPARE(run({QStringLiteral("--snapshot"), target}, {}).code, 0);
        QCOMPARE(QDir(target).entryList(QDir::Files), threeNames);
        QCOMPARE(QImage(target + QStringLiteral("/dropdown-list.png")).size(), QSize(800, 1200));
        QCOMPARE(QImage(target + QStringLiteral("/dropdown-qr.png")).size(), QSize(800, 1320));
        QCOMPARE(QImage(target + QStringLiteral("/dropdown-access.png")).size(), QSize(800, 1200));
        const auto link = readBack(QImage(target + QStringLiteral("/dropdown-qr.png")));
        QVERIFY(link && link->starts_with("https://"));
    }

    void picturesDiffer()
    {
        const QTemporaryDir folder;
        QCOMPARE(run({QStringLiteral("--snapshot"), folder.path()}, {}).code, 0);
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
        const Variables variables{{QStringLiteral("HOME"), home.path()},
            {QStringLiteral("KORVANE_SYNC_HOME"), home.filePath(QStringLiteral("support"))},
            {QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config"))},
            {QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data"))}};
        QCOMPARE(run({QStringLiteral("--snapshot"), folder.path()}, variables).code, 0);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), threeNames);
        QCOMPARE(everythingIn(home.path()), QStringList());
    }

    void settingsOfTheUserDoNotShow()
    {
        const QTemporaryDir folder;
        const QTemporaryDir home;
        const Variables variables{{QStringLiteral("HOME"), home.path()},
            {QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config"))}};
        QCOMPARE(run({QStringLiteral("--snapshot"), folder.path()}, variables).code, 0);
        const QImage before(folder.filePath(threeNames[1]));
        QDir(home.path()).mkpath(QStringLiteral("config/KorvaneSync"));
        QFile settings(home.filePath(QStringLiteral("config/KorvaneSync/KorvaneSync.ini")));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.write("[General]\nautoSync=false\nfolder=/somewhere/else\nselected=a, b\n");
        settings.close();
        QCOMPARE(run({QStringLiteral("--snapshot"), folder.path()}, variables).code, 0);
        QCOMPARE(QImage(folder.filePath(threeNames[1])), before);
    }

    /// The pictures do not depend on environment variables that set up a desktop.
    void picturesDoNotDependOnTheDesktop_data()
    {
        QTest::addColumn<QString>("variable");
        QTest::addColumn<QString>("value");
        QTest::newRow("scaled") << QStringLiteral("QT_SCALE_FACTOR") << QStringLiteral("2");
        QTest::newRow("scaled by a half")
            << QStringLiteral("QT_SCALE_FACTOR") << QStringLiteral("1.5");
        QTest::newRow("fonts enlarged") << QStringLiteral("QT_FONT_DPI") << QStringLiteral("144");
        QTest::newRow("a platform chosen")
            << QStringLiteral("QT_QPA_PLATFORM") << QStringLiteral("minimal");
        QTest::newRow("a display that is not there")
            << QStringLiteral("DISPLAY") << QStringLiteral(":65000");
    }

    void picturesDoNotDependOnTheDesktop()
    {
        QFETCH(QString, variable);
        QFETCH(QString, value);
        const QTemporaryDir usual;
        const QTemporaryDir other;
        QCOMPARE(run({QStringLiteral("--snapshot"), usual.path()}, {}).code, 0);
        QCOMPARE(run({QStringLiteral("--snapshot"), other.path()}, {{variable, value}}).code, 0);
        for (const QString& name : threeNames)
            QCOMPARE(QImage(other.filePath(name)), QImage(usual.filePath(name)));
    }

    void folderThatCannotBeMadeIsNoError()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("file")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        for (const QString& target :
            {file.fileName(), file.fileName() + QStringLiteral("/below"), QString()}) {
            const Outcome outcome = run({QStringLiteral("--snapshot"), target}, {});
            QCOMPARE(outcome.code, 0);
            QCOMPARE(outcome.out, QByteArray());
        }
        QCOMPARE(everythingIn(folder.path()), QStringList{file.fileName()});
    }

    void relativeFolderIsTakenFromTheWorkingDirectory()
    {
        const QTemporaryDir folder;
        QCOMPARE(
            run({QStringLiteral("--snapshot"), QStringLiteral("pictures")}, {}, folder.path()).code,
            0);
        QCOMPARE(
            QDir(folder.filePath(QStringLiteral("pictures"))).entryList(QDir::Files), threeNames);
    }

    void optionWithoutAFolderStartsTheProgramAsUsual()
    {
        const QTemporaryDir folder;
        const Outcome usual = run({}, {}, folder.path());
        const Outcome outcome = run({QStringLiteral("--snapshot")}, {}, folder.path());
        QCOMPARE(outcome.code, usual.code);
        QCOMPARE(outcome.err, usual.err);
        QVERIFY(outcome.err.contains("no display")); // it starts as usual, which needs a display
        QCOMPARE(everythingIn(folder.path()), QStringList());
    }

private:
    static inline const QStringList threeNames{QStringLiteral("dropdown-access.png"),
        QStringLiteral("dropdown-list.png"), QStringLiteral("dropdown-qr.png")};

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
        environment.insert(QStringLiteral("PATH"),
            QStringLiteral("/usr/bin")); // QProcess would inherit for an empty one
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
