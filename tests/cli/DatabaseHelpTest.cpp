#include "cli/Sources.h"
#include "messages/DatabaseFault.h"

#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;

using Cause = DatabaseFault::Cause;

Q_DECLARE_METATYPE(DatabaseFault::Cause)

/// The help for a database that cannot be read, on a Mac and elsewhere.
class DatabaseHelpTest : public QObject {
    Q_OBJECT

private slots:
    void remedyFollowsFromTheCause_data()
    {
        QTest::addColumn<Cause>("cause");
        QTest::addColumn<QString>("says");
        QTest::newRow("missing") << Cause::Missing << "SQLite says: the reason. Check the path.";
        QTest::newRow("no file") << Cause::NotAFile << "This is the reason, not a database file.";
        QTest::newRow("pipe beside it") << Cause::PipeBeside << "Remove it, or copy";
        QTest::newRow("empty") << Cause::Empty << "Copy old.db, old.db-wal and old.db-shm together";
        QTest::newRow("denied") << Cause::Denied << "Check who may read the file";
        QTest::newRow("log") << Cause::LogUnusable
                             << "Copy old.db, old.db-wal and old.db-shm together into a folder "
                                "that you may write to, and name that copy with --database FILE.";
        QTest::newRow("locked") << Cause::Locked << "Another program holds a lock";
        QTest::newRow("no database") << Cause::NotADatabase << "is encrypted, or it is not";
        QTest::newRow("damaged") << Cause::Damaged << "damaged or not complete: copy old.db, ";
        QTest::newRow("other tables") << Cause::NotMessages << "but not one of Messages.";
        QTest::newRow("readable by now") << Cause::Gone << "try again.";
        QTest::newRow("anything else") << Cause::Other << "SQLite says: the reason.";
    }

    void remedyFollowsFromTheCause()
    {
        QFETCH(Cause, cause);
        QFETCH(QString, says);
        const std::string help
            = databaseHelp({cause, "the reason"}, {.path = "/copies/old.db", .named = true});
        QVERIFY2(help.find(says.toStdString()) != std::string::npos, help.c_str());
        QCOMPARE(help.find("Full Disk Access"), std::string::npos);
        QCOMPARE(help.find('\n'), std::string::npos);
    }

    void fullDiskAccessIsForAMac_data()
    {
        QTest::addColumn<Cause>("cause");
        QTest::addColumn<bool>("named");
        QTest::addColumn<bool>("onAMac");
        QTest::addColumn<bool>("advised");
        QTest::newRow("hidden") << Cause::Denied << false << true << true;
        QTest::newRow("a hidden copy") << Cause::Denied << true << true << true;
        QTest::newRow("cannot be opened") << Cause::LogUnusable << false << true << true;
        QTest::newRow("a copy without its log") << Cause::LogUnusable << true << true << false;
        QTest::newRow("missing") << Cause::Missing << false << true << false;
        QTest::newRow("locked") << Cause::Locked << false << true << false;
        QTest::newRow("elsewhere") << Cause::Denied << false << false << false;
    }

    void fullDiskAccessIsForAMac()
    {
        QFETCH(Cause, cause);
        QFETCH(bool, named);
        QFETCH(bool, onAMac);
        QFETCH(bool, advised);
        const std::string help = databaseHelp({cause, "authorization denied"},
            {.path = "/Users/ann/chat.db", .named = named, .onAMac = onAMac});
        QCOMPARE(help.find("Full Disk Access") != std::string::npos, advised);
    }

    void whoHasNotNamedAFileIsToldHow_data()
    {
        QTest::addColumn<Cause>("cause");
        QTest::newRow("missing") << Cause::Missing;
        QTest::newRow("a folder") << Cause::NotAFile;
        QTest::newRow("denied") << Cause::Denied;
        QTest::newRow("damaged") << Cause::Damaged;
    }

    void whoHasNotNamedAFileIsToldHow()
    {
        QFETCH(Cause, cause);
        const std::string help
            = databaseHelp({cause, "the reason"}, {.path = "/home/ann/chat.db", .named = false});
        QVERIFY2(help.ends_with("with --database FILE."), help.c_str());
    }
};

QTEST_APPLESS_MAIN(DatabaseHelpTest)
#include "DatabaseHelpTest.moc"
