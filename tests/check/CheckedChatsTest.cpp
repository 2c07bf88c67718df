#include "check/CheckedChats.h"
#include "export/ExportSetup.h"
#include "export/FileName.h"
#include "export/RecordWriter.h"
#include "support/Printing.h"

using namespace korvane;
namespace fs = std::filesystem;

/// Which chats are checked, and which files are theirs.
class CheckedChatsTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_setup = std::make_unique<ExportSetup>();
        m_setup->addChat(1, "Ann");
        m_setup->addChat(2, "Bo");
        m_setup->addChat(3, "Cy");
        m_setup->addMessages(1, 2);
        m_setup->addMessages(2, 2);
    }

    void stateDecides()
    {
        m_setup->sync();
        const CheckedChats found = find();
        QCOMPARE(namesIn(found), std::string("Ann: Ann (1) 2; Bo: Bo (2) 4; Cy: Cy (3) 0"));
        QVERIFY(found.errors.empty());
    }

    void fileIsEnough()
    {
        m_setup->sync();
        fs::remove(m_setup->stateFile());
        QCOMPARE(namesIn(find()), std::string("Ann: Ann (1); Bo: Bo (2)"));
    }

    void chatWithNeitherIsCheckedOnlyOnRequest()
    {
        QCOMPARE(namesIn(find()), std::string());
        QCOMPARE(namesIn(find({.all = true})), std::string("Ann: Ann (1); Bo: Bo (2); Cy: Cy (3)"));
        QCOMPARE(namesIn(find({.chats = {ExportSetup::guid(2)}})), std::string("Bo: Bo (2)"));
    }

    void chosenChatsAreTheOnlyOnes()
    {
        m_setup->sync();
        QCOMPARE(namesIn(find({.chats = {ExportSetup::guid(2)}})), std::string("Bo: Bo (2) 4"));
    }

    void unknownGuidIsAnError()
    {
        const CheckedChats found = find({.chats = {"nobody"}});
        QVERIFY(found.chats.empty());
        QCOMPARE(found.errors, std::vector<std::string>{"There is no chat with the guid nobody."});
    }

    void fileUnderAnOldTitleIsFoundByItsRecords()
    {
        m_setup->sync();
        fs::remove(m_setup->stateFile());
        m_setup->chats[0].displayName = "Ann Lee";
        QCOMPARE(namesIn(find()), std::string("Ann Lee: Ann (1); Bo: Bo (2)"));
    }

    void fileUnderAShortenedNameIsFound()
    {
        std::string title;
        for (int i = 0; i < 90; ++i)
            title += "\xF0\x9F\x98\x80";
        m_setup->chats[0].displayName = title;
        m_setup->sync();
        fs::remove(m_setup->stateFile());
        const CheckedChats found = find({.chats = {ExportSetup::guid(1)}});
        QCOMPARE(found.chats.at(0).file, Exporter::shortenedFileName(title, 1));
    }

    void chatThatTheDatabaseNoLongerHasIsChecked_data()
    {
        QTest::addColumn<bool>("lostState");
        QTest::newRow("in the state") << false;
        QTest::newRow("only a file") << true;
    }

    void chatThatTheDatabaseNoLongerHasIsChecked()
    {
        QFETCH(bool, lostState);
        m_setup->sync();
        if (lostState)
            fs::remove(m_setup->stateFile());
        m_setup->chats.erase(m_setup->chats.begin());
        const CheckedChats found = find({.chats = {ExportSetup::guid(1)}});
        QCOMPARE(namesIn(found), std::string("Ann: Ann (1)"));
        QVERIFY(!found.chats.at(0).chat);
    }

    void fileWithoutARecordAndWithoutAStateIsNobodys()
    {
        fs::create_directories(m_setup->folder());
        writeFile(m_setup->folder() / "Zoe (9) Korvane Wrapped.jsonl.txt", "garbage\n");
        writeFile(m_setup->folder() / "notes.txt", "mine");
        const CheckedChats found = find();
        QCOMPARE(namesIn(found), std::string());
        QVERIFY(found.errors.empty());
    }

    void fileOfTwoChatsIsAnError()
    {
        m_setup->sync();
        ChatState record = m_setup->record(2);
        record.fileName = m_setup->record(1).fileName;
        m_setup->setRecord(2, record);
        const CheckedChats found = find();
        QCOMPARE(found.errors,
            std::vector<std::string>{
                "Ann (1) Korvane Wrapped.jsonl.txt: This is the file of 2 chats in the export "
                "state, which a repair leaves alone: Ann, Bo."});
        QVERIFY(found.chats.at(0).sharesFile);
        QVERIFY(found.chats.at(1).sharesFile);
        QVERIFY(!found.chats.at(2).sharesFile);
    }

    void recordOfAnotherFormatVersionSaysOnlyWhereTheFileIs()
    {
        m_setup->sync();
        ChatState record = m_setup->record(1);
        record.formatVersion = 3;
        m_setup->setRecord(1, record);
        QCOMPARE(namesIn(find({.chats = {ExportSetup::guid(1)}})), std::string("Ann: Ann (1)"));
    }

private:
    CheckedChats find(const CheckScope& scope = {}) const
    {
        return checkedChats(m_setup->chats, m_setup->names, m_setup->folder(),
            ExportState::load(m_setup->support()), scope);
    }

    /// "title: file lastRowID; …", without the common end of the names.
    static std::string namesIn(const CheckedChats& found)
    {
        std::string text;
        for (const CheckedChat& each : found.chats) {
            text += (text.empty() ? "" : "; ") + each.title + ": "
                + each.file.substr(0, each.file.find(" Korvane"));
            if (each.lastRowID)
                text += ' ' + std::to_string(*each.lastRowID);
        }
        return text;
    }

    std::unique_ptr<ExportSetup> m_setup;
};

QTEST_GUILESS_MAIN(CheckedChatsTest)
#include "CheckedChatsTest.moc"
