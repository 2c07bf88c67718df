#include "WindowSetup.h"

#include "app/Controls.h"
#include "app/Labels.h"
#include "app/Look.h"
#include "app/Snapshot.h"
#include "pairing/QrImage.h"
#include "pairing/ReadBack.h"
#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;

/// Which card the window shows, and its contents.
class HeaderAndCardsTest : public WindowTest {
    Q_OBJECT

private slots:
    void exactlyOnePaneIsShown_data()
    {
        QTest::addColumn<bool>("needsAccess");
        QTest::addColumn<bool>("hasCode");
        QTest::addColumn<int>("pane");
        QTest::addColumn<QString>("subtitle");
        QTest::addColumn<int>("height");
        QTest::newRow("chats") << false << false << int{Chats}
                               << QStringLiteral("Pick one chat, send it to your iPhone.") << 600;
        QTest::newRow("code") << false << true << int{Transfer}
                              << QStringLiteral("Point your iPhone at the code.") << 660;
        QTest::newRow("no access") << true << false << int{Access}
                                   << QStringLiteral("Needs a key to your Messages.") << 600;
        QTest::newRow("no access beats a code")
            << true << true << int{Access} << QStringLiteral("Needs a key to your Messages.")
            << 600;
    }

    void exactlyOnePaneIsShown()
    {
        QFETCH(bool, needsAccess);
        QFETCH(bool, hasCode);
        QFETCH(int, pane);
        QFETCH(QString, subtitle);
        QFETCH(int, height);
        AppState::Preview preview = hasCode ? PreviewStates::qr() : PreviewStates::list();
        preview.needsAccess = needsAccess;
        AppState state(preview);
        ContentView window(state);
        window.show();
        QCOMPARE(child(window, "tryAgain").isVisible(), pane == Access);
        QCOMPARE(child(window, "code").isVisible(), pane == Transfer);
        QCOMPARE(child(window, "chats").isVisible(), pane == Chats);
        QCOMPARE(child(window, "search").isVisible(), pane == Chats);
        QCOMPARE(child(window, "create").isVisible(), pane == Chats);
        QCOMPARE(child<QLabel>(window, "subtitle").text(), subtitle);
        QCOMPARE(window.size(), QSize(400, height));
    }

    void headerHasTheProgramsName()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        const QLabel& name = textOf(window, QStringLiteral("Korvane Sync"));
        QCOMPARE(name.font().pixelSize(), 24);
        QCOMPARE(name.font().weight(), QFont::DemiBold);
        QCOMPARE(name.font().families(), Look::roundedFont(24, QFont::DemiBold).families());
        const QLabel& subtitle = child<QLabel>(window, "subtitle");
        QCOMPARE(subtitle.font().pixelSize(), 12);
        QCOMPARE(subtitle.font().weight(), QFont::Normal);
    }

    void guideStandsBeforeTheName()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        window.show();
        const QImage picture = pictureOf(window, 2);
        const QImage guide = Look::image(Look::Drawing::Guide, 52, 2).toImage();
        const QRect name = placeIn(window, textOf(window, QStringLiteral("Korvane Sync")));
        QVERIFY(name.left() >= 18 + 52);
        int alike = 0;
        int opaque = 0;
        for (int y = 0; y < guide.height(); ++y) {
            for (int x = 0; x < guide.width(); ++x) {
                if (qAlpha(guide.pixel(x, y)) < 255)
                    continue;
                ++opaque;
                alike += picture.pixel(36 + x, 36 + y) == guide.pixel(x, y);
            }
        }
        QVERIFY(opaque > 3000);
        QCOMPARE(alike, opaque);
    }

    void accessCardSaysWhatToDo()
    {
        AppState state(PreviewStates::access());
        ContentView window(state);
        window.show();
        const QLabel& title = textOf(window, QStringLiteral("Full Disk Access"));
        QCOMPARE(title.font().pixelSize(), 20);
        QCOMPARE(title.font().weight(), QFont::DemiBold);
        const QLabel& text = textOf(window, why());
        QCOMPARE(text.font().pixelSize(), 13);
        QCOMPARE(text.palette().color(QPalette::WindowText), Look::faded(Look::cream, 0.85));
        QCOMPARE(
            child<Pill>(window, "openSettings").text(), QStringLiteral("Open System Settings"));
        QCOMPARE(child<Word>(window, "tryAgain").text(), QStringLiteral("Try again"));
    }

    void accessCardIsLaidOutToThePoint()
    {
        AppState state(PreviewStates::access());
        ContentView window(state);
        window.show();
        const QLabel& title = textOf(window, QStringLiteral("Full Disk Access"));
        const QWidget& card = *title.parentWidget();
        QCOMPARE(placeIn(card, title).topLeft(), QPoint(16, 16));
        const QRect open = placeIn(card, child(window, "openSettings"));
        QCOMPARE(open.left(), 16);
        QCOMPARE(open.bottom(), card.height() - 1 - 16);
        QCOMPARE(placeIn(window, card).left(), 18);
        QCOMPARE(placeIn(window, card).width(), 364);
        const QRect text = placeIn(card, textOf(window, why()));
        QCOMPARE(text.top() - placeIn(card, title).bottom() - 1, 10);
        QCOMPARE(open.top() - text.bottom() - 1, 10);
    }

    void cardsAreRoundedAndFilled()
    {
        for (const AppState::Preview& preview : {PreviewStates::access(), PreviewStates::qr()}) {
            AppState state(preview);
            ContentView window(state);
            window.show();
            const char* name = preview.needsAccess ? "tryAgain" : "done";
            const QRect card = placeIn(window, *child(window, name).parentWidget());
            const QImage picture = pictureOf(window);
            QCOMPARE(picture.pixelColor(card.topLeft()), Look::canvas);
            QCOMPARE(picture.pixelColor(card.topLeft() + QPoint(22, 0)), Look::card);
            QCOMPARE(picture.pixelColor(card.topLeft() + QPoint(0, 22)), Look::card);
            QCOMPARE(picture.pixelColor(card.topLeft() + QPoint(5, 5)), Look::canvas);
            QCOMPARE(picture.pixelColor(card.topLeft() + QPoint(8, 8)), Look::card);
        }
    }

    void accessButtonsDoWhatTheySay()
    {
        WindowSetup setup;
        setup.addChats(1);
        setup.db.sql().execute("ALTER TABLE chat RENAME TO elsewhere");
        ContentView window(setup.start());
        window.show();
        QVERIFY(setup.state().needsAccess());
        QTest::mouseClick(&child(window, "openSettings"), Qt::LeftButton);
        QCOMPARE(setup.openedUrls.size(), std::size_t{1});
        QCOMPARE(setup.openedUrls[0].toString(),
            QStringLiteral(
                "x-apple.systempreferences:com.apple.preference.security?Privacy_AllFiles"));
        setup.db.sql().execute("ALTER TABLE elsewhere RENAME TO chat");
        QTest::mouseClick(&child(window, "tryAgain"), Qt::LeftButton);
        QTRY_VERIFY(child(window, "chats").isVisible());
        QVERIFY(!child(window, "tryAgain").isVisible());
    }

    void transferCardSaysWhatToDo()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        const OneLine& title = child<OneLine>(window, "transferTitle");
        QCOMPARE(title.text(), QStringLiteral("The Weekend People"));
        QCOMPARE(title.font().pixelSize(), 18);
        QCOMPARE(title.font().weight(), QFont::DemiBold);
        const QLabel& how = textOf(window,
            QStringLiteral("Open the Camera on your iPhone and point it here. Both need the same "
                           "Wi-Fi. Korvane "
                           "shows you the chat before anything is saved."));
        QCOMPARE(how.font().pixelSize(), 13);
        QCOMPARE(how.palette().color(QPalette::WindowText), Look::faded(Look::cream, 0.85));
        const QLabel& warning = textOf(window,
            QStringLiteral(
                "The code works for 10 minutes. Anyone who scans it in that time can get this one "
                "chat."));
        QCOMPARE(warning.font().pixelSize(), 11);
        QCOMPARE(child<Word>(window, "done").text(), QStringLiteral("Done"));
    }

    void transferCardIsLaidOutToThePoint()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        window.show();
        const QWidget& code = child(window, "code");
        const QWidget& ground = *code.parentWidget();
        const QWidget& card = *ground.parentWidget();
        QCOMPARE(code.size(), QSize(240, 240));
        QCOMPARE(placeIn(ground, code).topLeft(), QPoint(12, 12));
        QCOMPARE(ground.size(), QSize(264, 264));
        const QRect title = placeIn(card, child(window, "transferTitle"));
        const QRect done = placeIn(card, child(window, "done"));
        QCOMPARE(title.top(), 16);
        QCOMPARE(done.bottom(), card.height() - 1 - 16);
        QCOMPARE(placeIn(card, ground).top() - title.bottom() - 1, 12);
        for (const QRect& centred : {placeIn(card, ground), done})
            QVERIFY(std::abs(2 * centred.center().x() - card.width()) <= 2);
    }

    void codeIsBlackOnAWhiteRoundedGround()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        window.show();
        const QRect ground = placeIn(window, *child(window, "code").parentWidget());
        const QImage picture = pictureOf(window);
        QCOMPARE(picture.pixelColor(ground.topLeft()), Look::card);
        QCOMPARE(picture.pixelColor(ground.topLeft() + QPoint(18, 0)), QColor(Qt::white));
        const QRect code = placeIn(window, child(window, "code"));
        const int black = countOf(picture, Qt::black, code);
        QCOMPARE(black + countOf(picture, Qt::white, code), 240 * 240); // no grey pixels
        QVERIFY(black > 240 * 240 / 10);
    }

    void codeIsReadBackAtEveryScale_data()
    {
        QTest::addColumn<double>("pixelsPerPoint");
        for (const double pixels : {1.0, 1.25, 1.5, 2.0, 3.0})
            QTest::addRow("%g pixels a point", pixels) << pixels;
    }

    void codeIsReadBackAtEveryScale()
    {
        QFETCH(double, pixelsPerPoint);
        AppState::Preview preview = PreviewStates::qr();
        const std::string link = "korvane://mac-import?host=192.168.1.20&port=49152&ticket="
            + std::string(43, 'T') + "&key=" + std::string(43, 'k');
        preview.transferQR = QR::image(link, 320, 3);
        AppState state(preview);
        ContentView window(state);
        window.show();
        QCOMPARE(readBack(pictureOf(window, pixelsPerPoint)), std::optional(link));
    }

    void doneEndsTheTransfer()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        window.show();
        QTest::mouseClick(&child(window, "done"), Qt::LeftButton);
        QVERIFY(!state.transferQR());
        QVERIFY(!state.transferChatTitle());
        QVERIFY(child(window, "chats").isVisible());
        QVERIFY(!child(window, "code").isVisible());
        QCOMPARE(window.size(), QSize(400, 600));
        QCOMPARE(child<OneLine>(window, "transferTitle").text(), QString());
    }

private:
    enum Pane { Access, Transfer, Chats };

    static QString why()
    {
        return QStringLiteral(
            "Korvane Sync reads the Messages history on this Mac, and macOS keeps that behind "
            "a switch. Turn on Korvane Sync in System Settings, Privacy & Security, Full Disk "
            "Access, then come back.");
    }

    /// The label with this text. Aborts the test program if there is none.
    static const QLabel& textOf(const QWidget& window, QStringView text)
    {
        for (const QLabel* label : window.findChildren<QLabel*>()) {
            if (label->text() == text)
                return *label;
        }
        qFatal("no text \"%s\"", qPrintable(text.toString()));
    }
};

QTEST_MAIN(HeaderAndCardsTest)
#include "HeaderAndCardsTest.moc"
