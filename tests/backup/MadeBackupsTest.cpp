#include "messages/Sqlite.h"
#include "packaging/Command.h"

#include <QDirIterator>
#include <QTemporaryDir>

#include <map>
#include <memory>

using namespace korvane;

namespace {

/// What is in a folder, by path: the bytes of a file, nothing for a folder.
std::map<QString, QByteArray> contentsOf(const QString& folder)
{
    std::map<QString, QByteArray> contents;
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
        QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        QFile file(entries.next());
        const bool isRead = !entries.fileInfo().isDir() && file.open(QIODevice::ReadOnly);
        contents[file.fileName().mid(folder.size())] = isRead ? file.readAll() : QByteArray();
    }
    return contents;
}

/// A phone's messages, backups made of them by make_backup.py, and a user who exports them.
class Phone {
public:
    Phone()
    {
        const Outcome made = program({QStringLiteral("sample"), path("chat.db"),
            QStringLiteral("--chats"), QStringLiteral("3"), QStringLiteral("--messages"),
            QStringLiteral("60"), QStringLiteral("--contacts"), path("people.vcf")});
        QVERIFY2(made.code == 0, made.said().constData());
        QVERIFY(QDir(path("")).mkdir(QStringLiteral("memory")));
        writePassword("geheim");
        keepHalfInTheLog();
    }

    QString path(const char* name) const { return m_folder.filePath(QString::fromUtf8(name)); }

    void writePassword(const QByteArray& password) const
    {
        QFile file(path("password"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(password) == password.size());
    }

    Outcome make(const QStringList& options) const
    {
        QStringList arguments{QStringLiteral("-B"), QStringLiteral(MAKE_BACKUP), path("backup"),
            QStringLiteral("--database"), path("chat.db"), QStringLiteral("--wal"),
            path("chat.db-wal"), QStringLiteral("--address-book"), path("people.vcf")};
        return korvane::run(QStringLiteral(PYTHON), arguments + options);
    }

    void removeBackup() const { QVERIFY(QDir(path("backup")).removeRecursively()); }

    /// Removes the backup and what was exported.
    void startAgain() const
    {
        for (const char* folder :
            {"backup", "exported", "expected", "exported-state", "expected-state"})
            QVERIFY(QDir(path(folder)).removeRecursively());
    }

    /// Exports all chats to a folder, with a state of its own beside it.
    Outcome exportTo(const char* folder, const QStringList& source) const
    {
        return program(QStringList{QStringLiteral("export"), QStringLiteral("--all"),
                           QStringLiteral("--folder"), path(folder)}
            + source);
    }

    Outcome exportBackup() const
    {
        return exportTo("exported",
            {QStringLiteral("--backup"), path("backup"), QStringLiteral("--password-file"),
                path("password")});
    }

    Outcome exportDatabase() const
    {
        return exportTo("expected",
            {QStringLiteral("--database"), path("chat.db"), QStringLiteral("--contacts"),
                path("people.vcf")});
    }

    Sqlite& database() { return *m_database; }

private:
    Outcome program(const QStringList& arguments) const
    {
        const QString state = arguments.value(3) + QStringLiteral("-state");
        return korvane::run(QStringLiteral(PROGRAM), arguments,
            {{QStringLiteral("HOME"), path("")}, {QStringLiteral("KORVANE_SYNC_HOME"), state},
                {QStringLiteral("XDG_RUNTIME_DIR"), path("memory")}});
    }

    /// Moves the later messages from the database to its log, which stays while it is open.
    void keepHalfInTheLog()
    {
        m_database
            = std::make_unique<Sqlite>(Sqlite::openForWriting(path("chat.db").toStdString()));
        m_database->execute("CREATE TABLE later AS SELECT * FROM chat_message_join;"
                            "DELETE FROM chat_message_join WHERE message_id > 30;"
                            "PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0;"
                            "INSERT OR IGNORE INTO chat_message_join SELECT * FROM later "
                            "WHERE message_id <= 50");
    }

    const QTemporaryDir m_folder;
    std::unique_ptr<Sqlite> m_database;
};

} // namespace

/// Exports backups that a program in another language made, from descriptions of their format.
class MadeBackupsTest : public QObject {
    Q_OBJECT

    std::unique_ptr<Phone> m_phone; ///< for tests that do not change its messages

    /// Makes the backup; false if that failed.
    static bool isMade(const Phone& phone, const QString& options)
    {
        const Outcome made = phone.make(options.split(u' ', Qt::SkipEmptyParts));
        if (made.code != 0)
            qWarning().noquote() << made.said();
        return made.code == 0;
    }

private slots:
    void initTestCase() { m_phone = std::make_unique<Phone>(); }
    void init() { m_phone->startAgain(); }

    void exportsAreThoseOfTheBareDatabase_data()
    {
        QTest::addColumn<QString>("options");
        const auto row = [](const char* name, const char* options) {
            QTest::newRow(name) << QString::fromUtf8(options);
        };
        row("plain, in folders", "--layout folders");
        row("plain, flat", "--layout flat");
        row("encrypted, in folders", "--password geheim --layout folders");
        row("encrypted, flat", "--password geheim --layout flat");
        row("encrypted, derived in one step", "--password geheim --no-dpsl");
        row("encrypted, all in one class",
            "--password geheim --classes manifest=3,messages=3,log=3,contacts=3");
        row("encrypted, the messages in a class of password and device",
            "--password geheim --classes manifest=6,messages=8,log=2,contacts=5");
        row("encrypted, the index padded, too", "--password geheim --padding all");
        row("encrypted, nothing padded", "--password geheim --padding none");
        row("encrypted, many rounds", "--password geheim --iterations 20000");
    }

    void exportsAreThoseOfTheBareDatabase()
    {
        QFETCH(QString, options);
        QVERIFY(isMade(*m_phone, options));
        const auto backup = contentsOf(m_phone->path("backup"));
        const Outcome expected = m_phone->exportDatabase();
        QVERIFY2(expected.code == 0, expected.said().constData());
        const Outcome outcome = m_phone->exportBackup();
        QVERIFY2(outcome.code == 0, outcome.said().constData());
        QCOMPARE(contentsOf(m_phone->path("expected")).size(), std::size_t(3));
        QVERIFY(contentsOf(m_phone->path("exported")) == contentsOf(m_phone->path("expected")));
        QVERIFY(contentsOf(m_phone->path("backup")) == backup);
        QVERIFY(contentsOf(m_phone->path("memory")).empty());
    }

    void laterBackupContinuesWhereTheLastOneEnded()
    {
        Phone phone;
        QVERIFY(isMade(phone, QStringLiteral("--password geheim")));
        QCOMPARE(phone.exportBackup().code, 0);
        phone.database().execute("INSERT OR IGNORE INTO chat_message_join SELECT * FROM later");
        phone.removeBackup();
        QVERIFY(isMade(phone, QStringLiteral("--password geheim --date 2026-11-08T18:30:00Z")));
        const Outcome outcome = phone.exportBackup();
        QVERIFY2(
            outcome.out.contains(QStringLiteral("Added 10 messages")), outcome.said().constData());
        QCOMPARE(phone.exportDatabase().code, 0);
        QVERIFY(contentsOf(phone.path("exported")) == contentsOf(phone.path("expected")));
    }

    void restoredPhoneIsAnotherDatabase()
    {
        Phone phone;
        QVERIFY(isMade(phone, QString()));
        QCOMPARE(phone.exportBackup().code, 0);
        const auto before = contentsOf(phone.path("exported"));
        phone.database().execute("DELETE FROM message WHERE ROWID <= 10;"
                                 "DELETE FROM chat_message_join WHERE message_id <= 10;"
                                 "UPDATE message SET ROWID = ROWID - 10;"
                                 "UPDATE chat_message_join SET message_id = message_id - 10;");
        phone.removeBackup();
        QVERIFY(isMade(phone, QString()));
        const Outcome outcome = phone.exportBackup();
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.contains(QStringLiteral("a different Messages database")),
            outcome.said().constData());
        QVERIFY(contentsOf(phone.path("exported")) == before);
    }

    void damageIsReportedInOneLine_data()
    {
        QTest::addColumn<QString>("options");
        const Outcome listed = korvane::run(QStringLiteral(PYTHON),
            {QStringLiteral("-B"), QStringLiteral("-c"),
                QStringLiteral("import make_backup as made\n"
                               "print(*(set(made.DAMAGES) - {'no-info'}))")},
            {{QStringLiteral("PYTHONPATH"),
                QFileInfo(QStringLiteral(MAKE_BACKUP)).absolutePath()}});
        QVERIFY2(listed.code == 0, listed.said().constData());
        for (const QString& damage : listed.out.split(u' '))
            QTest::newRow(qPrintable(damage.trimmed()))
                << QStringLiteral("--password geheim --damage ") + damage.trimmed();
        QTest::newRow("unfinished") << QStringLiteral("--unfinished");
        QTest::newRow("unfinished, encrypted") << QStringLiteral("--unfinished --password geheim");
        QTest::newRow("another password") << QStringLiteral("--password geheimnis");
        for (const char* damage : {"wrong-size", "no-messages", "no-record", "truncated-file",
                 "truncated-index", "no-manifest"})
            QTest::newRow(qPrintable(QStringLiteral("plain, ") + QLatin1String(damage)))
                << QStringLiteral("--damage ") + QLatin1String(damage);
    }

    void damageIsReportedInOneLine()
    {
        QFETCH(QString, options);
        QVERIFY(isMade(*m_phone, options));
        const auto backup = contentsOf(m_phone->path("backup"));
        const Outcome outcome = m_phone->exportBackup();
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.out, QStringLiteral("Nothing added.\n"));
        QCOMPARE(outcome.err.count(u'\n'), 1);
        QVERIFY(outcome.err.startsWith(QStringLiteral("korvane-sync: ")));
        QVERIFY(contentsOf(m_phone->path("exported")).empty());
        QVERIFY(contentsOf(m_phone->path("memory")).empty());
        QVERIFY(contentsOf(m_phone->path("backup")) == backup);
    }

    void deviceWithoutANameIsStillExported()
    {
        QVERIFY(isMade(*m_phone, QStringLiteral("--password geheim --damage no-info")));
        const Outcome outcome = m_phone->exportBackup();
        QVERIFY2(outcome.code == 0, outcome.said().constData());
    }
};

QTEST_GUILESS_MAIN(MadeBackupsTest)
#include "MadeBackupsTest.moc"
