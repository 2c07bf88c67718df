#include "WindowSetup.h"

#include "app/ChatListModel.h"
#include "app/ChatListView.h"

#include <QLineEdit>
#include <QScrollBar>
#include <QSignalSpy>
#include <QtTest/QTest>

using namespace korvane;

/// A list of 10,000 chats is reloaded while the user is somewhere in its middle.
class ReloadTest : public WindowTest {
    Q_OBJECT

private slots:
    void placeIsKept_data()
    {
        QTest::addColumn<std::string>("sql");
        QTest::newRow("the same chats") << std::string();
        QTest::newRow("a title changed")
            << std::string("UPDATE chat SET display_name = 'Renamed' WHERE ROWID = 9000");
        QTest::newRow("one more on top") << newOnTop();
        QTest::newRow("one less above") << removed(count);
        QTest::newRow("one less below") << removed(5);
        QTest::newRow("another one moved to the top") << movedToTop(20);
        QTest::newRow("the topmost visible one moved to the top") << movedToTop(topmost);
    }

    void placeIsKept()
    {
        QFETCH(std::string, sql);
        WindowSetup setup;
        setup.addChats(count);
        setup.start().toggle(WindowSetup::guid(current));
        ContentView window(setup.state());
        QVERIFY(showActive(window));
        auto& list = child<ChatListView>(window, "chats");
        goSomewhere(list);
        const int before = topOf(list, current);
        if (!sql.empty())
            setup.db.sql().execute(sql);
        reload(setup.state());
        QCOMPARE(topOf(list, current), before); // the current row has not moved
        QCOMPARE(guidAt(list.currentIndex()), WindowSetup::guid(current));
        QVERIFY(list.hasFocus());
        QCOMPARE(setup.state().selected(), std::set<std::string>{WindowSetup::guid(current)});
        QCOMPARE(list.currentIndex().data(Qt::CheckStateRole).toInt(), int{Qt::Checked});
        QTest::keyClick(&list, Qt::Key_Down);
        QCOMPARE(guidAt(list.currentIndex()), WindowSetup::guid(current - 1));
    }

    void listMovesByNoMoreThanTheRowThatIsGone()
    {
        WindowSetup setup;
        setup.addChats(count);
        ContentView window(setup.start());
        QVERIFY(showActive(window));
        auto& list = child<ChatListView>(window, "chats");
        goSomewhere(list);
        const int before = topOf(list, current);
        setup.db.sql().execute(removed(topmost));
        reload(setup.state());
        QVERIFY(std::abs(topOf(list, current) - before) <= rowHeight);
        QCOMPARE(guidAt(list.currentIndex()), WindowSetup::guid(current));
    }

    /// A list that is scrolled to the top stays there.
    void newestChatIsSeenAtTheTop_data()
    {
        QTest::addColumn<std::string>("sql");
        QTest::newRow("a new one") << newOnTop();
        QTest::newRow("one from below") << movedToTop(20);
    }

    void newestChatIsSeenAtTheTop()
    {
        QFETCH(std::string, sql);
        WindowSetup setup;
        setup.addChats(30);
        ContentView window(setup.start());
        QVERIFY(showActive(window));
        auto& list = child<ChatListView>(window, "chats");
        QCOMPARE(list.verticalScrollBar()->value(), 0);
        setup.db.sql().execute(sql);
        reload(setup.state());
        QCOMPARE(list.verticalScrollBar()->value(), 0);
    }

    void keyboardStaysInTheSearchAndTheSearchStays()
    {
        WindowSetup setup;
        setup.addChats(100);
        ContentView window(setup.start());
        QVERIFY(showActive(window));
        auto& search = child<QLineEdit>(window, "search");
        QTest::keyClicks(&search, QStringLiteral("chat 1"));
        search.setCursorPosition(3);
        const auto& list = child<ChatListView>(window, "chats");
        QCOMPARE(list.model()->rowCount(), 12);
        setup.db.sql().execute(newOnTop());
        reload(setup.state());
        QVERIFY(search.hasFocus());
        QCOMPARE(search.text(), QStringLiteral("chat 1"));
        QCOMPARE(search.cursorPosition(), 3);
        QCOMPARE(list.model()->rowCount(), 12);
    }

    void filteredListKeepsItsPlace()
    {
        WindowSetup setup;
        setup.addChats(count);
        ContentView window(setup.start());
        QVERIFY(showActive(window));
        child<QLineEdit>(window, "search").setText(QStringLiteral("chat 5"));
        auto& list = child<ChatListView>(window, "chats");
        goSomewhere(list);
        const int before = topOf(list, current);
        setup.db.sql().execute(removed(5300) + newOnTop());
        reload(setup.state());
        QCOMPARE(topOf(list, current), before);
        QCOMPARE(guidAt(list.currentIndex()), WindowSetup::guid(current));
    }

    void chatThatTheKeyboardWasOnMayGo()
    {
        WindowSetup setup;
        setup.addChats(count);
        ContentView window(setup.start());
        QVERIFY(showActive(window));
        auto& list = child<ChatListView>(window, "chats");
        goSomewhere(list);
        const int before = topOf(list, current - 1);
        setup.db.sql().execute(removed(current));
        reload(setup.state());
        QVERIFY(list.hasFocus());
        QVERIFY(std::abs(topOf(list, current - 1) - before) <= rowHeight);
        QTest::keyClick(&list, Qt::Key_Down); // continues from a row nearby
        QVERIFY(list.viewport()->rect().intersects(list.visualRect(list.currentIndex())));
        QVERIFY(std::abs(topOf(list, current - 1) - before) <= 3 * rowHeight);
    }

    void listThatBecomesEmptyIsEmpty()
    {
        WindowSetup setup;
        setup.addChats(50);
        ContentView window(setup.start());
        QVERIFY(showActive(window));
        auto& list = child<ChatListView>(window, "chats");
        list.verticalScrollBar()->setValue(700);
        setup.db.sql().execute("DELETE FROM chat");
        reload(setup.state());
        QCOMPARE(list.model()->rowCount(), 0);
        QCOMPARE(list.verticalScrollBar()->maximum(), 0);
        setup.addChats(3);
        reload(setup.state());
        QCOMPARE(list.model()->rowCount(), 3);
    }

private:
    static constexpr int count = 10'000;
    static constexpr int rowHeight = 60;

    /// Numbers of chats; the newest chat has the highest and is at the top.
    static constexpr int topmost = 5500;
    static constexpr int current = 5498;

    static std::string newOnTop()
    {
        return "INSERT INTO chat (ROWID, guid) VALUES (20000, 'new'); "
               "INSERT INTO message (ROWID, date) VALUES (20000, 900000000); "
               "INSERT INTO chat_message_join VALUES (20000, 20000);";
    }

    static std::string removed(int chat)
    {
        return "DELETE FROM chat WHERE ROWID = " + std::to_string(chat) + ";";
    }

    static std::string movedToTop(int chat)
    {
        return "UPDATE message SET date = 900000000 WHERE ROWID = " + std::to_string(chat) + ";";
    }

    /// Focuses the list, makes `current` the current row, and scrolls until the upper edge cuts
    /// `topmost`.
    static void goSomewhere(ChatListView& list)
    {
        list.setFocus();
        list.setCurrentIndex(indexOf(list, current));
        list.scrollTo(indexOf(list, topmost), QAbstractItemView::PositionAtTop);
        list.verticalScrollBar()->setValue(list.verticalScrollBar()->value() + 25);
    }

    static QModelIndex indexOf(const ChatListView& list, int chat)
    {
        const auto* model = list.model();
        return model
            ->match(model->index(0, 0), ChatListModel::GuidRole,
                QString::fromStdString(WindowSetup::guid(chat)), 1, Qt::MatchExactly)
            .value(0);
    }

    static int topOf(const ChatListView& list, int chat)
    {
        return list.visualRect(indexOf(list, chat)).top();
    }

    static std::string guidAt(const QModelIndex& index)
    {
        return index.data(ChatListModel::GuidRole).toString().toStdString();
    }

    static void reload(AppState& state)
    {
        QSignalSpy read(&state, &AppState::chatsChanged);
        state.reloadChats();
        QTRY_COMPARE(read.count(), 1);
        QTest::qWait(0); // let the list do its deferred layout
    }
};

QTEST_MAIN(ReloadTest)
#include "ReloadTest.moc"
