#include "state/DatabaseCheck.h"
#include "support/Printing.h"

#include <QTemporaryDir>
#include <QtTest/QTest>

#include <filesystem>
#include <fstream>

using namespace korvane;

namespace fs = std::filesystem;

/// When the window looks whether its files are from a different database.
class DatabaseCheckTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        write("chat.db");
    }

    void firstRunIsCheckedAndLaterOnesAreNot()
    {
        DatabaseCheck check;
        QVERIFY(check.isDue(chats({"A", "B"}), database()));
        check.setDone(chats({"A", "B"}));
        QVERIFY(!check.isDue(chats({"A", "B"}), database()));
        QVERIFY(!check.isDue(chats({"B"}), database()));
    }

    void runThatFoundSomethingIsRepeated()
    {
        DatabaseCheck check;
        QVERIFY(check.isDue(chats({"A"}), database()));
        QVERIFY(check.isDue(chats({"A"}), database()));
    }

    void chatThatIsSelectedLaterIsChecked()
    {
        DatabaseCheck check;
        check.isDue(chats({"A"}), database());
        check.setDone(chats({"A"}));
        QVERIFY(check.isDue(chats({"A", "B"}), database()));
    }

    void writingToTheDatabaseMakesNoDifference()
    {
        DatabaseCheck check;
        check.isDue(chats({"A"}), database());
        check.setDone(chats({"A"}));
        write("chat.db");
        QVERIFY(!check.isDue(chats({"A"}), database()));
    }

    void replacedDatabaseIsCheckedOnce()
    {
        DatabaseCheck check;
        check.isDue(chats({"A"}), database());
        check.setDone(chats({"A"}));
        write("restored.db");
        fs::rename(path("restored.db"), database());
        QVERIFY(check.isDue(chats({"A"}), database()));
        check.setDone(chats({"A"}));
        QVERIFY(!check.isDue(chats({"A"}), database()));
    }

    void databaseThatIsGoneForAWhileIsChecked()
    {
        DatabaseCheck check;
        check.isDue(chats({"A"}), database());
        check.setDone(chats({"A"}));
        fs::rename(database(), path("aside"));
        QVERIFY(check.isDue(chats({"A"}), database()));
        check.setDone(chats({"A"}));
        QVERIFY(check.isDue(chats({"A"}), database()));
        fs::rename(path("aside"), database());
        QVERIFY(check.isDue(chats({"A"}), database()));
    }

private:
    static std::vector<ChatInfo> chats(const std::vector<std::string>& guids)
    {
        std::vector<ChatInfo> chats;
        for (const std::string& guid : guids)
            chats.push_back({.guid = guid});
        return chats;
    }

    std::string path(const std::string& name) const
    {
        return m_folder->path().toStdString() + '/' + name;
    }

    std::string database() const { return path("chat.db"); }

    void write(const std::string& name) const { std::ofstream(path(name), std::ios::app) << "x"; }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(DatabaseCheckTest)
#include "DatabaseCheckTest.moc"
