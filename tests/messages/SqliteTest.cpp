#include "messages/Rows.h"

#include <QFile>
#include <QTemporaryDir>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace korvane {

/// The connection and statement classes of Sqlite.h.
class SqliteTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { Sqlite::configureProcess(); }
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void processIsConfiguredBeforeTheFirstConnectionOnly()
    {
        Sqlite::openForWriting(path());
        QVERIFY_THROWS_EXCEPTION(std::logic_error, Sqlite::configureProcess());
    }

    void readOnlyConnectionRefusesToWrite()
    {
        Sqlite::openForWriting(path()).execute("CREATE TABLE t (a)");
        Sqlite db = Sqlite::openReadOnly(path());
        const std::string refused = "attempt to write a readonly database";
        QCOMPARE(errorOf([&] { db.execute("INSERT INTO t VALUES (1)"); }), refused);
        QCOMPARE(errorOf([&] { db.execute("PRAGMA user_version = 7"); }), refused);
    }

    void writingConnectionCreatesTheFile()
    {
        QCOMPARE(errorOf([this] { Sqlite::openReadOnly(path()); }), "unable to open database file");
        QVERIFY(!QFile::exists(QString::fromStdString(path())));
        Sqlite::openForWriting(path()).execute("CREATE TABLE t (a)");
        QVERIFY(QFile::exists(QString::fromStdString(path())));
        QCOMPARE(errorOf([this] { Sqlite::openForWriting(path() + "/x"); }),
            "unable to open database file");
    }

    void statementWithoutACommandIsAnError_data()
    {
        QTest::addColumn<std::string>("sql");
        QTest::newRow("nothing") << std::string();
        QTest::newRow("blanks") << std::string(" \n ");
        QTest::newRow("a comment") << std::string("-- nothing");
        QTest::newRow("a semicolon") << std::string(";");
    }

    void statementWithoutACommandIsAnError()
    {
        QFETCH(std::string, sql);
        Sqlite db = Sqlite::openForWriting(path());
        QCOMPARE(errorOf([&] { Sqlite::Statement row(db, sql); }), "not an error"); // SQLite's text
    }

    void statementTakesTheFirstOfSeveralCommands()
    {
        Sqlite db = Sqlite::openForWriting(path());
        Sqlite::Statement row(db, "SELECT 1; SELECT 2; nonsense");
        QVERIFY(row.step());
        QCOMPARE(row.integer(0), 1);
        QVERIFY(!row.step());
    }

    void wrongSqlIsAnErrorWithSqlitesText()
    {
        Sqlite db = Sqlite::openForWriting(path());
        QCOMPARE(errorOf([&] { Sqlite::Statement row(db, "SELEKT 1"); }),
            "near \"SELEKT\": syntax error");
        QCOMPARE(errorOf([&] { db.execute("SELECT * FROM t"); }), "no such table: t");
    }

    void wrongParameterIsAnError()
    {
        Sqlite db = Sqlite::openForWriting(path());
        Sqlite::Statement row(db, "SELECT ?");
        row.bind(1, 5);
        const std::string outOfRange = "column index out of range";
        QCOMPARE(errorOf([&] { row.bind(2, 5); }), outOfRange);
        QCOMPARE(errorOf([&] { row.bindText(0, "a"); }), outOfRange);
        QCOMPARE(errorOf([&] { row.bindBlob(2, "a"); }), outOfRange);
        QCOMPARE(errorOf([&] { row.bindNull(2); }), outOfRange);
    }

    void bindsAndReadsAllTypes()
    {
        Sqlite db = Sqlite::openForWriting(path());
        const std::string text = bytes("h\0\xFF");
        const std::string blob = bytes("\0\1");
        Sqlite::Statement row(db, "SELECT ?1, ?2, ?3, ?4, typeof(?1) || typeof(?2) || typeof(?3)");
        row.bind(1, -9'000'000'000'000'000'001);
        row.bindText(2, text);
        row.bindBlob(3, blob);
        row.bindNull(4);
        QVERIFY(row.step());
        QCOMPARE(row.integer(0), -9'000'000'000'000'000'001);
        QCOMPARE(row.text(1).value(), text);
        QCOMPARE(row.blob(2).value(), blob);
        QVERIFY(row.isNull(3));
        QVERIFY(!row.isNull(0));
        QVERIFY(!row.text(3));
        QVERIFY(!row.blob(3));
        QCOMPARE(row.integer(3), 0);
        QCOMPARE(row.integer32(3), 0);
        QCOMPARE(row.text(4).value(), "integertextblob");
    }

    void emptyIsNotAbsent()
    {
        Sqlite db = Sqlite::openForWriting(path());
        Sqlite::Statement row(db, "SELECT '', x''");
        QVERIFY(row.step());
        QCOMPARE(row.text(0), std::optional(std::string_view()));
        QCOMPARE(row.blob(1), std::optional(std::string_view()));
        QCOMPARE(row.blob(0), std::optional(std::string_view()));
    }

    void runsAgainAfterReset()
    {
        Sqlite db = Sqlite::openForWriting(path());
        Sqlite::Statement row(db, "SELECT ? + ?");
        row.bind(1, 1);
        row.bind(2, 10);
        QVERIFY(row.step());
        QCOMPARE(row.integer(0), 11);
        row.reset();
        row.bind(1, 2);
        QVERIFY(row.step());
        QCOMPARE(row.integer(0), 12);
    }

    void failingStepIsAnErrorWithSqlitesText()
    {
        Sqlite db = Sqlite::openForWriting(path());
        db.execute("CREATE TABLE t (a UNIQUE); INSERT INTO t VALUES (1)");
        Sqlite::Statement row(db, "INSERT INTO t VALUES (1)");
        QCOMPARE(errorOf([&] { row.step(); }), "UNIQUE constraint failed: t.a");
    }

    void executeRunsSeveralCommandsUntilOneFails()
    {
        Sqlite db = Sqlite::openForWriting(path());
        QCOMPARE(errorOf([&] {
            db.execute("CREATE TABLE t (a); INSERT INTO t VALUES (1); SELECT * FROM t;"
                       "INSERT INTO missing VALUES (1); INSERT INTO t VALUES (2)");
        }),
            "no such table: missing");
        Sqlite::Statement row(db, "SELECT COUNT(*) FROM t");
        QVERIFY(row.step());
        QCOMPARE(row.integer(0), 1);
    }

    void movedConnectionStaysOpen()
    {
        Sqlite first = Sqlite::openForWriting(path());
        Sqlite second = std::move(first);
        second.execute("CREATE TABLE t (a)");
        QCOMPARE(errorOf([&] { second.execute("SELECT * FROM t"); }), "(no error)");
    }

    void knowsItsFileAndWhenAnotherIsInItsPlace()
    {
        Sqlite::openForWriting(path()).execute("CREATE TABLE t (a)");
        const QString link = m_folder->filePath(QStringLiteral("link.db"));
        QVERIFY(QFile::link(QString::fromStdString(path()), link));
        const Sqlite db = Sqlite::openReadOnly(link.toStdString());
        QCOMPARE(db.file(), std::filesystem::canonical(path()).native());
        QVERIFY(!db.hasMoved());
        std::filesystem::rename(path(), path() + ".old");
        QVERIFY(db.hasMoved());
        Sqlite::openForWriting(path()).execute("CREATE TABLE t (a)");
        QVERIFY(db.hasMoved());
        std::filesystem::rename(path() + ".old", path());
        QVERIFY(!db.hasMoved());
    }

    void isInterruptedByAnotherThread()
    {
        const std::string endless = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM "
                                    "n) SELECT COUNT(*) FROM n";
        std::atomic<bool> flag = false;
        Sqlite db = Sqlite::openForWriting(path());
        db.interruptWhen(flag);
        QCOMPARE(errorOf([&] { db.execute("SELECT 1"); }), "(no error)");
        std::thread other([&flag] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            flag = true;
        });
        QCOMPARE(errorOf([&] { db.execute(endless); }), "interrupted");
        other.join();
        QCOMPARE(errorOf([&] { db.execute(endless); }), "interrupted"); // a later one as well
    }

private:
    std::string path() const { return m_folder->filePath(QStringLiteral("some.db")).toStdString(); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::SqliteTest)
#include "SqliteTest.moc"
