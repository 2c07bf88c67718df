#include "WindowSetup.h"

#include "app/ChatListView.h"
#include "app/Controls.h"
#include "app/Labels.h"
#include "app/Snapshot.h"
#include "state/Settings.h"

#include <QScrollBar>
#include <QSignalSpy>
#include <QtTest/QTest>

using namespace korvane;

/// The window, used by keyboard.
class KeyboardTest : public WindowTest {
    Q_OBJECT

private slots:
    void tabWalksThroughTheWindowInOrder_data()
    {
        QTest::addColumn<QString>("state");
        QTest::addColumn<QStringList>("order");
        const QStringList footer{QStringLiteral("change"), QStringLiteral("autoSync"),
            QStringLiteral("syncNow"), QStringLiteral("quit")};
        QTest::newRow("list") << QStringLiteral("list")
                              << QStringList{QStringLiteral("search"), QStringLiteral("chats"),
                                     QStringLiteral("create")}
                + footer;
        QTest::newRow("code") << QStringLiteral("code")
                              << QStringList{QStringLiteral("done")} + footer;
        QTest::newRow("access") << QStringLiteral("access")
                                << QStringList{QStringLiteral("openSettings"),
                                       QStringLiteral("tryAgain")}
                + footer;
    }

    void tabWalksThroughTheWindowInOrder()
    {
        QFETCH(QString, state);
        QFETCH(QStringList, order);
        AppState app(previewNamed(state));
        ContentView window(app);
        QVERIFY(showActive(window));
        if (state == QStringLiteral("access"))
            QTest::keyClick(&window, Qt::Key_Tab); // in this state nothing has the focus at first
        QStringList walked;
        for (qsizetype i = 0; i < order.size(); ++i) {
            walked += focused();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(walked, order);
        QCOMPARE(focused(), order.first()); // wraps around
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(focused(), order.last());
    }

    void focusCanBeSeen_data() { tabWalksThroughTheWindowInOrder_data(); }
    void focusCanBeSeen()
    {
        QFETCH(QString, state);
        QFETCH(QStringList, order);
        AppState app(previewNamed(state));
        ContentView window(app);
        QVERIFY(showActive(window));
        QApplication::setCursorFlashTime(0); // no blinking
        for (qsizetype i = 0; i < order.size(); ++i) {
            QTest::keyClick(keyboardOwner(window), Qt::Key_Tab);
            const QString name = focused();
            const QImage with = pictureOf(window);
            window.focusWidget()->clearFocus();
            const QImage without = pictureOf(window);
            QVERIFY2(with != without, qPrintable(name));
            child(window, name.toLatin1()).setFocus();
        }
    }

    /// Without the search field: its caret always shows its focus.
    void clickShowsNoFocus_data()
    {
        QTest::addColumn<QString>("control");
        for (const char* control : {"chats", "autoSync", "change", "syncNow", "create"})
            QTest::newRow(control) << QString::fromLatin1(control);
    }

    void clickShowsNoFocus()
    {
        QFETCH(QString, control);
        AppState state(PreviewStates::list());
        ContentView window(state);
        QVERIFY(showActive(window));
        QWidget& clicked = child(window, control.toLatin1());
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab); // shows focus frames until a click
        click(clicked);
        click(clicked); // back to the state before
        QTest::qWait(300); // until the switch has come to rest
        QCOMPARE(focused(), control);
        const QImage with = pictureOf(window);
        clicked.clearFocus();
        QVERIFY(pictureOf(window) == with);
    }

    void keyAfterAClickShowsTheFocus()
    {
        AppState state(previewOf(3));
        ContentView window(state);
        QVERIFY(showActive(window));
        QWidget& list = child(window, "chats");
        click(list);
        QTest::keyClick(&list, Qt::Key_Down);
        const QImage with = pictureOf(window);
        list.clearFocus();
        QVERIFY(pictureOf(window) != with);
    }

    void windowOpensWithoutAFocusRing()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        QVERIFY(showActive(window));
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
        window.close();
        QVERIFY(showActive(window));
        QCOMPARE(focused(), QStringLiteral("done"));
        const QImage with = pictureOf(window);
        window.focusWidget()->clearFocus();
        QVERIFY(pictureOf(window) == with);
    }

    void focusLeavesTheOutlineOfASelectedRow()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        QVERIFY(showActive(window));
        auto& list = child<ChatListView>(window, "chats");
        const QRect row = list.visualRect(list.model()->index(0, 0));
        const QImage without = pictureOf(*list.viewport());
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
        const QImage with = pictureOf(*list.viewport());
        QVERIFY(with != without);
        for (int x = row.left() + 20; x < row.right() - 20; ++x) {
            QCOMPARE(with.pixelColor(x, row.top()), without.pixelColor(x, row.top()));
            QCOMPARE(with.pixelColor(x, row.top() + 53), without.pixelColor(x, row.top() + 53));
        }
        for (int y = row.top() + 20; y < row.top() + 34; ++y)
            QCOMPARE(with.pixelColor(row.left(), y), without.pixelColor(row.left(), y));
    }

    void arrowDownGoesFromTheSearchToTheList()
    {
        AppState state(previewOf(30));
        ContentView window(state);
        QVERIFY(showActive(window));
        auto& list = child<ChatListView>(window, "chats");
        QTest::keyClicks(window.focusWidget(), QStringLiteral("chat 2")); // finds 2, 20, 21…
        QTest::keyClick(window.focusWidget(), Qt::Key_Down);
        QCOMPARE(focused(), QStringLiteral("chats"));
        QCOMPARE(list.currentIndex().row(), 0);
        QTest::keyClick(window.focusWidget(), Qt::Key_Down);
        QTest::keyClick(window.focusWidget(), Qt::Key_Space);
        QCOMPARE(state.selected(), std::set<std::string>{"guid-20"});
    }

    void arrowDownGoesToTheTopmostRowInView()
    {
        AppState state(previewOf(30));
        ContentView window(state);
        QVERIFY(showActive(window));
        auto& list = child<ChatListView>(window, "chats");
        list.setCurrentIndex(list.model()->index(0, 0));
        list.verticalScrollBar()->setValue(600 + 20); // half of row 10 is out of view
        QTest::keyClick(window.focusWidget(), Qt::Key_Down);
        QCOMPARE(list.currentIndex().row(), 11);
        QCOMPARE(list.verticalScrollBar()->value(), 620);
    }

    void arrowDownStaysInTheSearchWhereThereIsNoRow()
    {
        AppState state(previewOf(3));
        ContentView window(state);
        QVERIFY(showActive(window));
        QTest::keyClicks(window.focusWidget(), QStringLiteral("nobody"));
        QTest::keyClick(window.focusWidget(), Qt::Key_Down);
        QCOMPARE(focused(), QStringLiteral("search"));
    }

    void windowOpensWithTheKeyboardWhereItIsWanted()
    {
        AppState list(PreviewStates::list());
        ContentView window(list);
        QVERIFY(showActive(window));
        QCOMPARE(focused(), QStringLiteral("search"));
        AppState qr(PreviewStates::qr());
        ContentView withCode(qr);
        QVERIFY(showActive(withCode));
        QCOMPARE(focused(), QStringLiteral("done"));
    }

    void typingFilters()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        QVERIFY(showActive(window));
        const auto& list = child<ChatListView>(window, "chats");
        QTest::keyClicks(window.focusWidget(), QStringLiteral(" MAYA"));
        QCOMPARE(list.model()->rowCount(), 1);
        QTest::keyClicks(window.focusWidget(), QStringLiteral("x"));
        QCOMPARE(list.model()->rowCount(), 0);
        for (int i = 0; i < 6; ++i)
            QTest::keyClick(window.focusWidget(), Qt::Key_Backspace);
        QCOMPARE(list.model()->rowCount(), 7);
    }

    void arrowsMoveAndSpaceToggles()
    {
        WindowSetup setup;
        setup.addChats(4);
        ContentView window(setup.start());
        QVERIFY(showActive(window));
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
        QCOMPARE(focused(), QStringLiteral("chats"));
        QWidget* list = window.focusWidget();
        QTest::keyClick(list, Qt::Key_Down);
        QTest::keyClick(list, Qt::Key_Space);
        QCOMPARE(setup.state().selected(), std::set<std::string>{"guid-3"});
        QCOMPARE(Settings().selected(), std::set<std::string>{"guid-3"});
        QTest::keyClick(list, Qt::Key_Down);
        QTest::keyClick(list, Qt::Key_Space);
        QCOMPARE(setup.state().selected(), (std::set<std::string>{"guid-2", "guid-3"}));
        QTest::keyClick(list, Qt::Key_Up);
        QTest::keyClick(list, Qt::Key_Space);
        QCOMPARE(setup.state().selected(), std::set<std::string>{"guid-2"});
    }

    void firstRowIsThereAtOnce()
    {
        AppState state(previewOf(3));
        ContentView window(state);
        QVERIFY(showActive(window));
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
        QTest::keyClick(window.focusWidget(), Qt::Key_Space);
        QCOMPARE(state.selected(), std::set<std::string>{"guid-1"});
    }

    void returnCreatesTheCode_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<int>("key");
        for (const char* from : {"search", "chats", "create", "change", "autoSync"}) {
            QTest::addRow("Return, from %s", from)
                << QString::fromLatin1(from) << int{Qt::Key_Return};
            QTest::addRow("Enter, from %s", from)
                << QString::fromLatin1(from) << int{Qt::Key_Enter};
        }
    }

    void returnCreatesTheCode()
    {
        QFETCH(QString, from);
        QFETCH(int, key);
        WindowSetup setup;
        setup.addChats(2);
        setup.start().toggle(WindowSetup::guid(2));
        ContentView window(setup.state());
        QVERIFY(showActive(window));
        QWidget& control = child(window, from.toLatin1());
        control.setFocus();
        QTest::keyClick(&control, static_cast<Qt::Key>(key));
        QVERIFY(setup.state().isSyncing());
        QTRY_VERIFY(setup.state().transferQR());
        QTRY_VERIFY(child(window, "code").isVisible());
        QCOMPARE(focused(), QStringLiteral("done"));
        QVERIFY(setup.startsOfPicks.empty());
    }

    void returnPressesQuit_data()
    {
        QTest::addColumn<int>("key");
        QTest::newRow("Return") << int{Qt::Key_Return};
        QTest::newRow("Enter") << int{Qt::Key_Enter};
    }

    void returnPressesQuit()
    {
        QFETCH(int, key);
        AppState state(PreviewStates::list());
        ContentView window(state);
        QSignalSpy quit(&window, &ContentView::quitRequested);
        QVERIFY(showActive(window));
        child(window, "quit").setFocus();
        QTest::keyClick(window.focusWidget(), static_cast<Qt::Key>(key));
        QCOMPARE(quit.count(), 1);
    }

    void returnPressesSyncNow()
    {
        WindowSetup setup;
        setup.addChats(2);
        setup.start().toggle(WindowSetup::guid(1));
        ContentView window(setup.state());
        QVERIFY(showActive(window));
        QSignalSpy reads(&setup.state(), &AppState::chatsChanged);
        child(window, "syncNow").setFocus();
        QTest::keyClick(window.focusWidget(), Qt::Key_Return);
        QVERIFY(setup.state().isSyncing());
        QVERIFY(setup.state().status() != "Preparing selected chat…");
        QTRY_COMPARE(reads.count(), 1);
        QVERIFY(!setup.state().transferQR());
    }

    void returnPressesDone()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        QVERIFY(showActive(window));
        QTest::keyClick(window.focusWidget(), Qt::Key_Return);
        QVERIFY(!state.transferQR());
        QCOMPARE(focused(), QStringLiteral("search"));
    }

    void returnPressesTheButtonsOfTheAccessCard()
    {
        WindowSetup setup;
        setup.start();
        AppState state(PreviewStates::access());
        ContentView window(state);
        QVERIFY(showActive(window));
        QSignalSpy pressed(&child<QAbstractButton>(window, "tryAgain"), &QAbstractButton::clicked);
        QSignalSpy opened(
            &child<QAbstractButton>(window, "openSettings"), &QAbstractButton::clicked);
        for (const char* button : {"tryAgain", "openSettings"}) {
            child(window, button).setFocus();
            QTest::keyClick(window.focusWidget(), Qt::Key_Return);
        }
        QCOMPARE(pressed.count(), 1);
        QCOMPARE(opened.count(), 1);
    }

    /// Return creates the code and "Done" gets the focus. If the held key repeated, it would press
    /// "Done" and close the code again.
    void heldReturnPressesOnce()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        QVERIFY(showActive(window));
        QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Return, {}, QStringLiteral("\r"), true);
        QApplication::sendEvent(window.focusWidget(), &repeated);
        QVERIFY(state.transferQR());
        WindowSetup setup;
        setup.addChats(1);
        setup.start().toggle(WindowSetup::guid(1));
        ContentView list(setup.state());
        QVERIFY(showActive(list));
        QApplication::sendEvent(list.focusWidget(), &repeated);
        QVERIFY(!setup.state().isSyncing());
    }

    void returnDoesNothingWithoutExactlyOneChat_data()
    {
        QTest::addColumn<int>("chats");
        QTest::newRow("none") << 0;
        QTest::newRow("two") << 2;
    }

    void returnDoesNothingWithoutExactlyOneChat()
    {
        QFETCH(int, chats);
        WindowSetup setup;
        setup.addChats(3);
        setup.start();
        for (int chat = 1; chat <= chats; ++chat)
            setup.state().toggle(WindowSetup::guid(chat));
        ContentView window(setup.state());
        QVERIFY(showActive(window));
        const std::string status = setup.state().status();
        QTest::keyClick(window.focusWidget(), Qt::Key_Return);
        QVERIFY(!setup.state().isSyncing());
        QCOMPARE(setup.state().status(), status);
    }

    void spaceOnDoneBringsTheListBack()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        QVERIFY(showActive(window));
        QTest::keyClick(window.focusWidget(), Qt::Key_Space);
        QVERIFY(!state.transferQR());
        QCOMPARE(focused(), QStringLiteral("search"));
    }

    void spaceFlipsTheSwitch()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        QVERIFY(showActive(window));
        child(window, "autoSync").setFocus();
        QTest::keyClick(window.focusWidget(), Qt::Key_Space);
        QVERIFY(!state.autoSync());
    }

    void spacePressesTheButtons()
    {
        WindowSetup setup;
        ContentView window(setup.start());
        QSignalSpy quit(&window, &ContentView::quitRequested);
        QVERIFY(showActive(window));
        child(window, "change").setFocus();
        QTest::keyClick(window.focusWidget(), Qt::Key_Space);
        QCOMPARE(setup.startsOfPicks.size(), std::size_t{1});
        child(window, "quit").setFocus();
        QTest::keyClick(window.focusWidget(), Qt::Key_Space);
        QCOMPARE(quit.count(), 1);
    }

    void escapeAsksToClose_data() { tabWalksThroughTheWindowInOrder_data(); }
    void escapeAsksToClose()
    {
        QFETCH(QString, state);
        QFETCH(QStringList, order);
        AppState app(previewNamed(state));
        ContentView window(app);
        QSignalSpy close(&window, &ContentView::closeRequested);
        QVERIFY(showActive(window));
        for (const QString& name : order) {
            child(window, name.toLatin1()).setFocus();
            QTest::keyClick(window.focusWidget(), Qt::Key_Escape);
            QVERIFY2(close.count() == 1, qPrintable(name));
            close.clear();
        }
    }

private:
    static AppState::Preview previewNamed(const QString& name)
    {
        return name == QStringLiteral("list") ? PreviewStates::list()
            : name == QStringLiteral("code")  ? PreviewStates::qr()
                                              : PreviewStates::access();
    }

    static void click(QWidget& control)
    {
        auto* list = qobject_cast<QAbstractScrollArea*>(&control);
        QTest::mouseClick(list ? list->viewport() : &control, Qt::LeftButton, {}, {40, 12});
    }

    static QWidget* keyboardOwner(ContentView& window)
    {
        return window.focusWidget() ? window.focusWidget() : &window;
    }

    static QString focused()
    {
        const QWidget* widget = QApplication::focusWidget();
        return widget ? widget->objectName() : QString();
    }
};

QTEST_MAIN(KeyboardTest)
#include "KeyboardTest.moc"
