#include "WindowSetup.h"

#include "app/CoralSwitch.h"
#include "app/Pieces.h"
#include "app/PreviewStates.h"
#include "state/Settings.h"

#include <QSignalSpy>
#include <QtTest/QTest>

using namespace korvane;
using namespace Qt::StringLiterals;

/// The window without a mouse.
class KeyboardTest : public WindowTest {
    Q_OBJECT

private slots:
    void tabWalksThroughTheWindowInOrder_data()
    {
        QTest::addColumn<QString>("state");
        QTest::addColumn<QStringList>("order");
        const QStringList footer{u"change"_s, u"autoSync"_s, u"syncNow"_s, u"quit"_s};
        QTest::newRow("list") << u"list"_s
                              << QStringList{u"search"_s, u"chats"_s, u"create"_s} + footer;
        QTest::newRow("code") << u"code"_s << QStringList{u"done"_s} + footer;
        QTest::newRow("access") << u"access"_s
                                << QStringList{u"openSettings"_s, u"tryAgain"_s} + footer;
    }

    void tabWalksThroughTheWindowInOrder()
    {
        QFETCH(QString, state);
        QFETCH(QStringList, order);
        AppState app(previewNamed(state));
        ContentView window(app);
        QVERIFY(showActive(window));
        if (state == u"access"_s)
            QTest::keyClick(&window, Qt::Key_Tab); // on opening, nothing has the keyboard
        QStringList walked;
        for (qsizetype i = 0; i < order.size(); ++i) {
            walked += focused();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(walked, order);
        QCOMPARE(focused(), order.first()); // and round again
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
        QApplication::setCursorFlashTime(0); // a caret that stays
        for (const QString& name : order) {
            QWidget& control = child(window, name.toLatin1());
            control.setFocus(Qt::TabFocusReason);
            const QImage with = pictureOf(window);
            control.clearFocus();
            const QImage without = pictureOf(window);
            QVERIFY2(with != without, qPrintable(name));
        }
    }

    void windowOpensWithTheKeyboardWhereItIsWanted()
    {
        AppState list(PreviewStates::list());
        ContentView window(list);
        QVERIFY(showActive(window));
        QCOMPARE(focused(), u"search"_s);
        AppState qr(PreviewStates::qr());
        ContentView withCode(qr);
        QVERIFY(showActive(withCode));
        QCOMPARE(focused(), u"done"_s);
    }

    void typingFilters()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        QVERIFY(showActive(window));
        const auto& list = child<ChatListView>(window, "chats");
        QTest::keyClicks(window.focusWidget(), u" MAYA"_s);
        QCOMPARE(list.model()->rowCount(), 1);
        QTest::keyClicks(window.focusWidget(), u"x"_s);
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
        QCOMPARE(focused(), u"chats"_s);
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
        QCOMPARE(focused(), u"done"_s);
        QVERIFY(setup.startsOfPicks.empty());
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
        QCOMPARE(focused(), u"search"_s);
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
        return name == u"list"_s ? PreviewStates::list()
            : name == u"code"_s  ? PreviewStates::qr()
                                 : PreviewStates::access();
    }

    static QString focused()
    {
        const QWidget* widget = QApplication::focusWidget();
        return widget ? widget->objectName() : QString();
    }
};

QTEST_MAIN(KeyboardTest)
#include "KeyboardTest.moc"
