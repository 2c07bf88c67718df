#include "storage/Files.h"
#include "support/FileMode.h"
#include "support/Printing.h"

#include <QTemporaryDir>
#include <QtTest/QTest>

#include <algorithm>
#include <fstream>
#include <system_error>
#include <vector>

using namespace korvane;
namespace fs = std::filesystem;

/// Files that are written for the user, completely or not at all.
class WriteWholeTest : public QObject {
    Q_OBJECT

private slots:
    void newFileIsForItsOwnerAlone_data() { addBoth(); }
    void newFileIsForItsOwnerAlone()
    {
        QFETCH(Files::Existing, existing);
        const QTemporaryDir folder;
        const fs::path file = fs::path(folder.path().toStdString()) / "chat";
        Files::writeWhole(file, "text", existing);
        QCOMPARE(Files::read(file), std::optional<std::string>("text"));
        QCOMPARE(modeOf(file), std::string("600"));
        QCOMPARE(namesIn(folder), std::vector<std::string>{"chat"});
    }

    void fileThatIsToBeKeptIsKept()
    {
        const QTemporaryDir folder;
        const fs::path file = fs::path(folder.path().toStdString()) / "chat";
        std::ofstream(file) << "old";
        QCOMPARE(failureOf(file, Files::Existing::Keep), std::errc::file_exists);
        QCOMPARE(Files::read(file), std::optional<std::string>("old"));
        QCOMPARE(namesIn(folder), std::vector<std::string>{"chat"});
    }

    void fileThatMayGoIsReplaced()
    {
        const QTemporaryDir folder;
        const fs::path file = fs::path(folder.path().toStdString()) / "chat";
        std::ofstream(file) << "old";
        Files::writeWhole(file, "new", Files::Existing::Replace);
        QCOMPARE(Files::read(file), std::optional<std::string>("new"));
        QCOMPARE(namesIn(folder), std::vector<std::string>{"chat"});
    }

    void linkToNowhereCountsAsAFile()
    {
        const QTemporaryDir folder;
        const fs::path file = fs::path(folder.path().toStdString()) / "chat";
        fs::create_symlink("nowhere", file);
        QCOMPARE(failureOf(file, Files::Existing::Keep), std::errc::file_exists);
        QCOMPARE(namesIn(folder), std::vector<std::string>{"chat"});
    }

    void folderInItsPlaceIsAFailureThatLeavesNothing_data() { addBoth(); }
    void folderInItsPlaceIsAFailureThatLeavesNothing()
    {
        QFETCH(Files::Existing, existing);
        const QTemporaryDir folder;
        const fs::path file = fs::path(folder.path().toStdString()) / "chat";
        fs::create_directory(file);
        QVERIFY(failureOf(file, existing) != std::errc());
        QCOMPARE(namesIn(folder), std::vector<std::string>{"chat"});
    }

    void missingFolderIsAFailure()
    {
        const QTemporaryDir folder;
        const fs::path file = fs::path(folder.path().toStdString()) / "none" / "chat";
        QCOMPARE(failureOf(file, Files::Existing::Keep), std::errc::no_such_file_or_directory);
    }

private:
    static void addBoth()
    {
        QTest::addColumn<Files::Existing>("existing");
        QTest::newRow("keeping what is there") << Files::Existing::Keep;
        QTest::newRow("replacing what is there") << Files::Existing::Replace;
    }

    static std::errc failureOf(const fs::path& file, Files::Existing existing)
    {
        try {
            Files::writeWhole(file, "new", existing);
            return {};
        } catch (const std::system_error& error) {
            return static_cast<std::errc>(error.code().value());
        }
    }

    static std::vector<std::string> namesIn(const QTemporaryDir& folder)
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder.path().toStdString()))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
};

QTEST_GUILESS_MAIN(WriteWholeTest)
#include "WriteWholeTest.moc"
