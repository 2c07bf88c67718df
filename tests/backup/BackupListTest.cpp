#include "backup/BackupList.h"

#include "backup/BackupError.h"
#include "backup/TestBackup.h"
#include "storage/Files.h"
#include "storage/Paths.h"
#include "support/Printing.h"
#include "support/TestDatabase.h"
#include "support/Unprivileged.h"

#include <QTemporaryDir>

#include <algorithm>
#include <filesystem>

using namespace korvane;
namespace fs = std::filesystem;

/// What backups say about themselves, and which there are in a folder.
class BackupListTest : public QObject {
    Q_OBJECT

    static QStringList words(const QString& options)
    {
        return options.split(u' ', Qt::SkipEmptyParts);
    }

    static QStringList names(const std::vector<Backup>& backups)
    {
        QStringList names;
        for (const Backup& backup : backups)
            names.append(QString::fromStdString(backup.folder.filename().string()));
        return names;
    }

private slots:
    void init() { m_folder.emplace(); }

    void backupDescribesItself()
    {
        const Backup backup = Backup::read(make("one",
            "--device-name Ann --password geheim "
            "--date 2026-10-02T08:15:00"));
        const Backup expected{.folder = path("one"),
            .device = "Ann",
            .date = std::chrono::sys_days(std::chrono::year(2026) / 10 / 2) + std::chrono::hours(8)
                + std::chrono::minutes(15),
            .isEncrypted = true,
            .isFinished = true,
            .hasMessages = true};
        QVERIFY(backup == expected);
    }

    void backupThatIsNotEncryptedSaysSo()
    {
        QVERIFY(Backup::read(make("one", "")).isEncrypted == false);
    }

    void flatBackupHasMessages()
    {
        QVERIFY(Backup::read(make("one", "--layout flat")).hasMessages);
    }

    void backupWithoutMessagesSaysSo()
    {
        const std::string folder = make("one", "");
        fs::remove(folder + "/3d/3d0d7e5fb2ce288813306e4d4636395e047a3d28");
        QVERIFY(!Backup::read(folder).hasMessages);
    }

    void unfinishedBackupSaysSo()
    {
        QVERIFY(!Backup::read(make("one", "--unfinished")).isFinished);
        QVERIFY(!Backup::read(make("two", "--damage no-status")).isFinished);
    }

    void backupWithoutAManifestIsNotFinished_data()
    {
        QTest::addColumn<QString>("damage");
        for (const char* damage : {"no-manifest", "broken-manifest", "list-manifest"})
            QTest::newRow(damage) << QString::fromUtf8(damage);
    }

    void backupWithoutAManifestIsNotFinished()
    {
        QFETCH(const QString, damage);
        const QString options = QStringLiteral("--password geheim --damage ") + damage;
        const Backup backup = Backup::read(make("one", qPrintable(options)));
        QVERIFY(!backup.isFinished);
        QVERIFY(!backup.isEncrypted.has_value());
    }

    void manifestThatMayNotBeReadIsNoneEither()
    {
        fs::permissions(make("one", "") + "/Manifest.plist", fs::perms::none);
        fs::permissions(path(""), fs::perms::all);
        const Unprivileged user;
        if (!user.works())
            QSKIP("cannot become another user");
        QVERIFY(!Backup::read(path("one")).isFinished);
        QVERIFY(!Backup::read(path("one")).isEncrypted.has_value());
    }

    void phoneWithoutANameHasThatOfItsFolder()
    {
        QCOMPARE(Backup::read(make("00008", "--damage no-info")).device, std::string("00008"));
        QCOMPARE(Backup::read(make("one", "--damage no-info") + "/").device, std::string("one"));
    }

    void newestBackupComesFirst()
    {
        make("b", "--date 2026-10-02T08:15:00");
        make("c", "--date 2026-10-03T08:15:00");
        make("d", "--date 2026-10-02T08:15:00");
        make("a", "--date 2025-10-02T08:15:00");
        QCOMPARE(names(backupsIn(path(""))), words(QStringLiteral("c b d a")));
    }

    void backupWithoutADateComesLast()
    {
        make("b", "--date 2001-10-02T08:15:00");
        fs::create_directory(path("a"));
        Files::writeAtomically(path("a") + "/Manifest.db", "");
        QCOMPARE(names(backupsIn(path(""))), words(QStringLiteral("b a")));
    }

    void folderOfABackupIsThatBackupAlone()
    {
        const std::string folder = make("a", "");
        korvane::makeBackup(folder + "/inner", m_database.path());
        QCOMPARE(names(backupsIn(folder)), words(QStringLiteral("a")));
    }

    void otherFilesAreNoBackups()
    {
        fs::create_directory(path("empty"));
        fs::create_directory(path("program")); // a program of a Mac has an Info.plist, too
        Files::writeAtomically(path("program") + "/Info.plist", "");
        Files::writeAtomically(path("file"), "");
        QVERIFY(backupsIn(path("")).empty());
    }

    void folderThatDoesNotExistIsAnError()
    {
        std::string complaint;
        try {
            backupsIn(path("absent"));
        } catch (const BackupError& error) {
            complaint = error.what();
        }
        QCOMPARE(complaint,
            path("absent") + ": This folder cannot be read (No such file or directory).");
    }

    void folderOfAnotherUserIsNotTakenForOneWithoutABackup()
    {
        make("one", "");
        fs::permissions(path("one"), fs::perms::none);
        fs::permissions(path(""), fs::perms::all);
        std::string complaint;
        {
            const Unprivileged user;
            if (!user.works())
                QSKIP("cannot become another user");
            try {
                backupsIn(path(""));
            } catch (const BackupError& error) {
                complaint = error.what();
            }
        }
        fs::permissions(path("one"), fs::perms::owner_all);
        QVERIFY2(complaint.ends_with("one: This folder cannot be read (Permission denied)."),
            complaint.c_str());
    }

    void usualPlacesAreInTheHomeFolder()
    {
        const std::vector<fs::path> folders = usualBackupFolders();
        QVERIFY(std::find(folders.begin(), folders.end(), Paths::home() / "iPhone") != folders.end()
            || Paths::applicationData().string().find("Library") != std::string::npos);
        for (const fs::path& folder : folders)
            QVERIFY(folder.string().starts_with(Paths::home().string()));
    }

private:
    std::string path(const char* name) const
    {
        return m_folder->filePath(QString::fromUtf8(name)).toStdString();
    }

    std::string make(const char* name, const char* options)
    {
        return korvane::makeBackup(
            path(name), m_database.path(), words(QString::fromUtf8(options)));
    }

    std::optional<QTemporaryDir> m_folder;
    TestDatabase m_database;
};

QTEST_GUILESS_MAIN(BackupListTest)
#include "BackupListTest.moc"
