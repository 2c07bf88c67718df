#include "WindowSetup.h"

#include "app/ChatListView.h"
#include "app/Controls.h"
#include "app/Labels.h"
#include "app/Look.h"
#include "app/Snapshot.h"
#include "pairing/ReadBack.h"
#include "state/Settings.h"
#include "support/Printing.h"

#include <QHelpEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QToolTip>
#include <QWheelEvent>
#include <QWindow>
#include <QtTest/QTest>

using namespace korvane;

/// The window, used by mouse. The test runs at several scale factors.
class MouseTest : public WindowTest {
    Q_OBJECT

private slots:
    void clickOnARowTogglesAndStoresIt_data()
    {
        QTest::addColumn<QPoint>("place"); // within the row
        QTest::newRow("on the mark") << QPoint(22, 27);
        QTest::newRow("on the title") << QPoint(80, 18);
        QTest::newRow("right of everything") << QPoint(350, 27);
    }

    void clickOnARowTogglesAndStoresIt()
    {
        QFETCH(QPoint, place);
        WindowSetup setup;
        setup.addChats(3);
        ContentView window(setup.start());
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        const QImage before = pictureOf(list);
        clickRow(list, 1, place);
        QCOMPARE(setup.state().selected(), std::set<std::string>{"guid-2"});
        QCOMPARE(Settings().selected(), std::set<std::string>{"guid-2"});
        QVERIFY(pictureOf(list) != before);
        clickRow(list, 1, place);
        QCOMPARE(Settings().selected(), std::set<std::string>{});
    }

    void severalRowsCanBeSelected()
    {
        WindowSetup setup;
        setup.addChats(4);
        ContentView window(setup.start());
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        clickRow(list, 0);
        clickRow(list, 2);
        QCOMPARE(Settings().selected(), (std::set<std::string>{"guid-4", "guid-2"}));
    }

    void eachOfTwoFastClicksToggles()
    {
        AppState state(previewOf(2));
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        const QPoint place = list.visualRect(list.model()->index(0, 0)).center();
        QTest::mouseDClick(window.windowHandle(), Qt::LeftButton, {},
            list.viewport()->mapTo(&window, place)); // two clicks, as a window system reports them
        QCOMPARE(state.selected(), std::set<std::string>{});
        QTest::mouseClick(
            window.windowHandle(), Qt::LeftButton, {}, list.viewport()->mapTo(&window, place));
        QCOMPARE(state.selected().size(), std::size_t{1});
    }

    void otherButtonsAndTheGapBetweenRowsDoNothing()
    {
        AppState state(previewOf(3));
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        const QRect row = list.visualRect(list.model()->index(1, 0));
        QTest::mouseClick(list.viewport(), Qt::RightButton, {}, row.center());
        QTest::mouseClick(list.viewport(), Qt::MiddleButton, {}, row.center());
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, row.bottomLeft() + QPoint(50, 0));
        QVERIFY(state.selected().empty());
    }

    void pressThatEndsOnAnotherRowDoesNothing()
    {
        AppState state(previewOf(3));
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        const auto centre
            = [&](int row) { return list.visualRect(list.model()->index(row, 0)).center(); };
        QTest::mousePress(list.viewport(), Qt::LeftButton, {}, centre(0));
        QTest::mouseRelease(list.viewport(), Qt::LeftButton, {}, centre(1));
        QVERIFY(state.selected().empty());
    }

    void clickInAFilteredListTogglesTheChatThatIsShown()
    {
        AppState state(previewOf(30));
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        child<QLineEdit>(window, "search").setText(QStringLiteral("chat 17"));
        QCOMPARE(list.model()->rowCount(), 1);
        clickRow(list, 0);
        QCOMPARE(state.selected(), std::set<std::string>{"guid-17"});
    }

    void buttonGoesByTheNumberOfSelectedChats()
    {
        AppState state(previewOf(3));
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        Pill& button = child<Pill>(window, "create");
        QCOMPARE(button.text(), QStringLiteral("Pick one chat"));
        QVERIFY(!button.isEnabled());
        clickRow(list, 0);
        QCOMPARE(button.text(), QStringLiteral("Create Korvane QR"));
        QVERIFY(button.isEnabled());
        clickRow(list, 1);
        QCOMPARE(button.text(), QStringLiteral("Pick one chat"));
        QVERIFY(!button.isEnabled());
    }

    void chatBecomesACodeThatCanBeRead()
    {
        WindowSetup setup;
        setup.addChats(3);
        ContentView window(setup.start());
        window.show();
        clickRow(child<ChatListView>(window, "chats"), 1);
        QTest::mouseClick(&child(window, "create"), Qt::LeftButton);
        QTRY_VERIFY(child(window, "code").isVisible());
        QCOMPARE(child<OneLine>(window, "transferTitle").text(), QStringLiteral("Chat 2"));
        QCOMPARE(setup.state().status(), std::string("Ready to scan · link expires in 10 minutes"));
        QCOMPARE(window.size(), QSize(400, 660));
        const QImage picture = window.grab().toImage();
        QCOMPARE(picture.width(), static_cast<int>(400 * window.devicePixelRatio()));
        const std::string link = readBack(picture).value_or("(no code)");
        QVERIFY2(link.starts_with("korvane://mac-import?host=127.0.0.1&port="), link.c_str());
    }

    void doneBringsTheListBack()
    {
        WindowSetup setup;
        setup.addChats(2);
        setup.start().toggle(WindowSetup::guid(1));
        ContentView window(setup.state());
        window.show();
        QTest::mouseClick(&child(window, "create"), Qt::LeftButton);
        QTRY_VERIFY(child(window, "done").isVisible());
        QTest::mouseClick(&child(window, "done"), Qt::LeftButton);
        QVERIFY(child(window, "chats").isVisible());
        QVERIFY(!setup.state().transferQR());
        QVERIFY(!setup.state().transferChatTitle());
        QCOMPARE(window.size(), QSize(400, 600));
        QCOMPARE(setup.state().selected(), std::set<std::string>{"guid-1"});
    }

    void secondCodeIsAnother()
    {
        WindowSetup setup;
        setup.addChats(2);
        setup.start().toggle(WindowSetup::guid(1));
        ContentView window(setup.state());
        window.show();
        std::set<std::string> links;
        for (int code = 0; code < 2; ++code) {
            QTest::mouseClick(&child(window, "create"), Qt::LeftButton);
            QTRY_VERIFY(child(window, "done").isVisible());
            links.insert(readBack(window.grab().toImage()).value_or("(no code)"));
            QTest::mouseClick(&child(window, "done"), Qt::LeftButton);
        }
        QCOMPARE(links.size(), std::size_t{2});
        QVERIFY(!links.contains("(no code)"));
    }

    void wheelScrollsByOneRowANotch()
    {
        AppState state(previewOf(100));
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        const QPointF place = list.viewport()->rect().center();
        QWheelEvent turn(place, list.viewport()->mapToGlobal(place), {}, {0, -240}, Qt::NoButton,
            Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(list.viewport(), &turn);
        QCOMPARE(list.visualRect(list.model()->index(0, 0)).top(), -2 * 60);
    }

    void rowUnderThePointerIsRaised()
    {
        AppState state(previewOf(3));
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        hover(list, {300, 60 + 27}, QEvent::HoverEnter);
        QCOMPARE(groundsOf(list), (std::vector{Look::card, Look::raised, Look::card}));
        hover(list, {300, 27}, QEvent::HoverMove);
        QCOMPARE(groundsOf(list), (std::vector{Look::raised, Look::card, Look::card}));
        hover(list, {300, 57}, QEvent::HoverMove); // the gap between two rows
        QCOMPARE(groundsOf(list), (std::vector{Look::card, Look::card, Look::card}));
        hover(list, {300, 27}, QEvent::HoverMove);
        hover(list, {-1, -1}, QEvent::HoverLeave);
        QCOMPARE(groundsOf(list), (std::vector{Look::card, Look::card, Look::card}));
    }

    void selectedRowUnderThePointerKeepsItsOutline()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        hover(list, {300, 27}, QEvent::HoverEnter);
        QCOMPARE(groundsOf(list).front(), Look::raised);
        QVERIFY(pictureOf(*list.viewport(), 2).pixelColor(600, 1).red() > 150);
    }

    void listFollowsThePointerWhileItScrolls()
    {
        AppState state(previewOf(30));
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        hover(list, {300, 27}, QEvent::HoverEnter);
        list.verticalScrollBar()->setValue(60);
        QCOMPARE(groundAt(list, {300, 10}), Look::raised); // the row now below the pointer
    }

    void cutTitleIsShownInFullByATooltip_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("isCut");
        QTest::newRow("short") << QStringLiteral("Dad") << false;
        QTest::newRow("long")
            << QString(QStringLiteral("Planning <b>the</b> party & more, ")).repeated(5) << true;
        QTest::newRow("long, from right to left")
            << QString(QStringLiteral("שלום לכולם ")).repeated(20) << true;
    }

    void cutTitleIsShownInFullByATooltip()
    {
        QFETCH(QString, title);
        QFETCH(bool, isCut);
        AppState::Preview preview = previewOf(2);
        preview.titles[1] = title.toStdString();
        AppState state(preview);
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        const QPoint place(100, 20);
        QHelpEvent help(QEvent::ToolTip, place, list.viewport()->mapToGlobal(place));
        QApplication::sendEvent(list.viewport(), &help);
        const QString shown = QToolTip::isVisible() ? QToolTip::text() : QString();
        QToolTip::hideText();
        QCOMPARE(shown, isCut ? Qt::convertFromPlainText(title, Qt::WhiteSpaceNormal) : QString());
    }

private:
    static void hover(ChatListView& list, const QPointF& place, QEvent::Type type)
    {
        QHoverEvent event(type, place, list.viewport()->mapToGlobal(place), place);
        QApplication::sendEvent(list.viewport(), &event);
    }

    static QColor groundAt(ChatListView& list, const QPoint& place)
    {
        return pictureOf(*list.viewport()).pixelColor(place);
    }

    /// The background of each row that is wholly in view.
    static std::vector<QColor> groundsOf(ChatListView& list)
    {
        std::vector<QColor> grounds;
        for (int row = 0; row < list.model()->rowCount(); ++row) {
            const QRect place = list.visualRect(list.model()->index(row, 0));
            if (list.viewport()->rect().contains(place))
                grounds.push_back(groundAt(list, place.topLeft() + QPoint(340, 27)));
        }
        return grounds;
    }

    static void clickRow(ChatListView& list, int row, const QPoint& place = {100, 27})
    {
        const QPoint corner = list.visualRect(list.model()->index(row, 0)).topLeft();
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, corner + place);
        QTest::qWait(QApplication::doubleClickInterval() / 100); // handle pending events
    }
};

QTEST_MAIN(MouseTest)
#include "MouseTest.moc"
