#include "WindowSetup.h"

#include "app/ChatListModel.h"
#include "state/Settings.h"
#include "support/Printing.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QtTest/QTest>

using namespace korvane;
using Mode = QAbstractItemModelTester::FailureReportingMode;

class ChatListModelTest : public WindowTest {
    Q_OBJECT

private slots:
    void modelIsSound_data()
    {
        QTest::addColumn<int>("chats");
        QTest::newRow("no chats") << 0;
        QTest::newRow("one chat") << 1;
        QTest::newRow("many chats") << 300;
    }

    void modelIsSound()
    {
        QFETCH(int, chats);
        AppState state(previewOf(chats));
        ChatListModel model(state);
        const QAbstractItemModelTester tester(&model, Mode::Fatal);
        QCOMPARE(model.rowCount(), chats);
        for (int row = 0; row < chats; ++row)
            QCOMPARE(model.rowCount(model.index(row)), 0);
    }

    void rowsAreTheChatsInTheirOrder()
    {
        AppState::Preview preview = previewOf(3);
        std::swap(preview.chats.front(), preview.chats.back());
        AppState state(preview);
        const ChatListModel model(state);
        QCOMPARE(titlesOf(model),
            (QStringList{
                QStringLiteral("Chat 3"), QStringLiteral("Chat 2"), QStringLiteral("Chat 1")}));
    }

    void rowSaysWhatIsKnownOfTheChat()
    {
        AppState::Preview preview = previewOf(1);
        preview.chats[0].isGroup = true;
        preview.chats[0].messageCount = 12;
        preview.titles[1] = "Ärzte & Co.";
        AppState state(preview);
        const ChatListModel model(state);
        const QModelIndex row = model.index(0);
        const QString subtitle = chatSubtitle(preview.chats[0]);
        QCOMPARE(row.data().toString(), QStringLiteral("Ärzte & Co."));
        QCOMPARE(row.data(ChatListModel::SearchRole).toString(), QStringLiteral("ärzte & co."));
        QCOMPARE(row.data(ChatListModel::SubtitleRole).toString(), subtitle);
        QCOMPARE(row.data(ChatListModel::IsGroupRole).toBool(), true);
        QCOMPARE(row.data(ChatListModel::GuidRole).toString(), QStringLiteral("guid-1"));
        QCOMPARE(row.data(Qt::AccessibleTextRole).toString(),
            QStringLiteral("Ärzte & Co., group, ") + subtitle);
        QVERIFY(!row.data(Qt::DecorationRole).isValid());
        QVERIFY(!row.data(Qt::ToolTipRole).isValid());
    }

    void chatWithoutATitleHasTheEmptyOne()
    {
        AppState::Preview preview = previewOf(2);
        preview.titles.erase(1);
        AppState state(preview);
        const ChatListModel model(state);
        QCOMPARE(titlesOf(model), (QStringList{QString(), QStringLiteral("Chat 2")}));
        QCOMPARE(model.index(0).data(ChatListModel::SearchRole).toString(), QString());
    }

    void checkedRowsAreTheSelectedChats()
    {
        AppState::Preview preview = previewOf(3);
        preview.selected = {"guid-2", "a chat that is gone"};
        AppState state(preview);
        const ChatListModel model(state);
        QCOMPARE(checksOf(model), (std::vector<bool>{false, true, false}));
    }

    void rowsCanBeChecked()
    {
        AppState state(previewOf(2));
        const ChatListModel model(state);
        for (int row = 0; row < 2; ++row) {
            const Qt::ItemFlags flags = model.flags(model.index(row));
            QVERIFY(flags.testFlag(Qt::ItemIsUserCheckable));
            QVERIFY(flags.testFlag(Qt::ItemIsEnabled));
            QVERIFY(!flags.testFlag(Qt::ItemIsEditable));
        }
    }

    void checkingARowSelectsTheChatAndTellsOfItOnce()
    {
        AppState state(previewOf(3));
        ChatListModel model(state);
        const QAbstractItemModelTester tester(&model, Mode::Fatal);
        QSignalSpy changed(&model, &ChatListModel::dataChanged);
        QVERIFY(model.setData(model.index(1), Qt::Checked, Qt::CheckStateRole));
        QCOMPARE(state.selected(), std::set<std::string>{"guid-2"});
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed[0][0].value<QModelIndex>().row(), 1); // only this row
        QCOMPARE(changed[0][1].value<QModelIndex>().row(), 1);
        QCOMPARE(changed[0][2].value<QList<int>>(), QList<int>{Qt::CheckStateRole});
        QVERIFY(model.setData(model.index(1), Qt::Unchecked, Qt::CheckStateRole));
        QVERIFY(state.selected().empty());
    }

    void checkingTwiceOrWritingAnythingElseDoesNothing()
    {
        AppState::Preview preview = previewOf(2);
        preview.selected = {"guid-1"};
        AppState state(preview);
        ChatListModel model(state);
        QSignalSpy changed(&model, &ChatListModel::dataChanged);
        QVERIFY(!model.setData(model.index(0), Qt::Checked, Qt::CheckStateRole));
        QVERIFY(!model.setData(model.index(1), QStringLiteral("another title"), Qt::EditRole));
        QCOMPARE(state.selected(), std::set<std::string>{"guid-1"});
        QCOMPARE(changed.count(), 0);
    }

    void checkingARowIsStoredAtOnce()
    {
        WindowSetup setup;
        setup.addChats(2);
        ChatListModel model(setup.start());
        model.setData(model.index(0), Qt::Checked, Qt::CheckStateRole);
        QCOMPARE(Settings().selected(), std::set<std::string>{"guid-2"}); // the newest chat
        model.setData(model.index(0), Qt::Unchecked, Qt::CheckStateRole);
        QCOMPARE(Settings().selected(), std::set<std::string>{});
    }

    void chatsThatAreReadLaterComeUp()
    {
        WindowSetup setup;
        setup.addChats(1);
        AppState& state = setup.start();
        ChatListModel model(state);
        const QAbstractItemModelTester tester(&model, Mode::Fatal);
        setup.addChats(2);
        reload(state);
        QCOMPARE(titlesOf(model),
            (QStringList{
                QStringLiteral("Chat 3"), QStringLiteral("Chat 2"), QStringLiteral("Chat 1")}));
    }

    void sameChatsChangeInPlace()
    {
        WindowSetup setup;
        setup.addChats(3);
        AppState& state = setup.start();
        ChatListModel model(state);
        const QAbstractItemModelTester tester(&model, Mode::Fatal);
        const QPersistentModelIndex second = model.index(1);
        QSignalSpy resets(&model, &ChatListModel::modelReset);
        QSignalSpy changes(&model, &ChatListModel::dataChanged);
        setup.db.sql().execute("UPDATE chat SET display_name = 'Renamed' WHERE ROWID = 2");
        reload(state);
        QCOMPARE(resets.count(), 0);
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes[0][0].value<QModelIndex>().row(), 0);
        QCOMPARE(changes[0][1].value<QModelIndex>().row(), 2);
        QCOMPARE(second.data().toString(), QStringLiteral("Renamed"));
        QCOMPARE(second.data(ChatListModel::SearchRole).toString(), QStringLiteral("renamed"));
    }

    void otherChatsResetTheModel_data()
    {
        QTest::addColumn<std::string>("sql");
        QTest::newRow("one more") << std::string(
            "INSERT INTO chat (ROWID, guid) VALUES (9, 'new'); "
            "INSERT INTO message (ROWID, date) VALUES (9, 1); "
            "INSERT INTO chat_message_join VALUES (9, 9)");
        QTest::newRow("one fewer") << std::string("DELETE FROM chat WHERE ROWID = 1");
        QTest::newRow("none left") << std::string("DELETE FROM chat");
        QTest::newRow("another order")
            << std::string("UPDATE message SET date = 800000000 WHERE ROWID = 1");
    }

    void otherChatsResetTheModel()
    {
        QFETCH(std::string, sql);
        WindowSetup setup;
        setup.addChats(3);
        AppState& state = setup.start();
        ChatListModel model(state);
        const QAbstractItemModelTester tester(&model, Mode::Fatal);
        QSignalSpy resets(&model, &ChatListModel::modelReset);
        setup.db.sql().execute(sql);
        reload(state);
        QCOMPARE(resets.count(), 1);
        QCOMPARE(model.rowCount(), static_cast<int>(state.chats().size()));
        for (int row = 0; row < model.rowCount(); ++row) {
            const auto& guid = state.chats()[static_cast<std::size_t>(row)].guid;
            QCOMPARE(model.index(row).data(ChatListModel::GuidRole).toString().toStdString(), guid);
        }
    }

private:
    static QStringList titlesOf(const ChatListModel& model)
    {
        QStringList titles;
        for (int row = 0; row < model.rowCount(); ++row)
            titles += model.index(row).data().toString();
        return titles;
    }

    static std::vector<bool> checksOf(const ChatListModel& model)
    {
        std::vector<bool> checks;
        for (int row = 0; row < model.rowCount(); ++row)
            checks.push_back(model.index(row).data(Qt::CheckStateRole).toInt() == Qt::Checked);
        return checks;
    }

    static void reload(AppState& state)
    {
        QSignalSpy read(&state, &AppState::chatsChanged);
        state.reloadChats();
        QTRY_COMPARE(read.count(), 1);
    }
};

QTEST_MAIN(ChatListModelTest)
#include "ChatListModelTest.moc"
