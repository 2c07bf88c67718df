#include "WindowSetup.h"

#include "app/Labels.h"

#include <QLineEdit>
#include <QSignalSpy>
#include <QtTest/QTest>

using namespace korvane;

/// The text shown in place of a list without rows.
class EmptyListTest : public WindowTest {
    Q_OBJECT

private slots:
    void searchWithoutResultSaysSo()
    {
        AppState state(previewOf(3));
        ContentView window(state);
        window.show();
        QVERIFY(!textOf(window));
        auto& search = child<QLineEdit>(window, "search");
        search.setText(QStringLiteral("  Zoë & <b>Co</b> "));
        QCOMPARE(textOf(window), QStringLiteral("No chat matches “Zoë & <b>Co</b>”."));
        QVERIFY(!child(window, "chats").isVisible());
        search.setText(QStringLiteral("chat 2"));
        QVERIFY(!textOf(window));
        QVERIFY(child(window, "chats").isVisible());
    }

    void emptyDatabaseIsSaidToBeEmpty()
    {
        WindowSetup setup;
        ContentView window(setup.start());
        window.show();
        const QString text = textOf(window).value_or(QString());
        QVERIFY2(text.startsWith(QStringLiteral("No chats yet")), qPrintable(text));
        child<QLineEdit>(window, "search").setText(QStringLiteral("x"));
        QCOMPARE(textOf(window), text); // no search can match in an empty list
    }

    void listThatIsStillBeingReadIsNotSaidToBeEmpty()
    {
        WindowSetup setup;
        AppState state(setup.environment());
        ContentView window(state);
        window.show();
        QVERIFY(!textOf(window));
        QTRY_VERIFY(textOf(window));
    }

    void chatsThatComeUpLaterTakeThePlace()
    {
        WindowSetup setup;
        ContentView window(setup.start());
        window.show();
        QVERIFY(textOf(window));
        setup.addChats(2);
        setup.state().reloadChats();
        QTRY_VERIFY(!textOf(window));
        QVERIFY(child(window, "chats").isVisible());
    }

    void longQueryStaysWithinTheWindow()
    {
        AppState state(previewOf(3));
        ContentView window(state);
        window.show();
        child<QLineEdit>(window, "search").setText(QString(20000, u'W'));
        QVERIFY(textOf(window));
        const QRect place = placeIn(window, child(window, "nothing"));
        QCOMPARE(place.left(), 18);
        QCOMPARE(place.width(), 364);
        QVERIFY(place.bottom() < placeIn(window, child(window, "create")).top());
        QCOMPARE(window.size(), QSize(400, 600));
    }

private:
    static std::optional<QString> textOf(const ContentView& window)
    {
        const auto* text = window.findChild<QLabel*>(QStringLiteral("nothing"));
        return text && text->isVisible() ? std::optional(text->text()) : std::nullopt;
    }
};

QTEST_MAIN(EmptyListTest)
#include "EmptyListTest.moc"
