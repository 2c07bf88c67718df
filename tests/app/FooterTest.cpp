#include "WindowSetup.h"

#include "app/Controls.h"
#include "app/HeaderAndFooter.h"
#include "app/Labels.h"
#include "app/Look.h"
#include "app/Snapshot.h"
#include "state/Settings.h"

#include <QDir>
#include <QSignalSpy>
#include <QtTest/QTest>

using namespace korvane;
class FooterTest : public WindowTest {
    Q_OBJECT

private slots:
    void homeIsShownAsATilde_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("home");
        QTest::addColumn<QString>("wanted");
        QTest::newRow("below home") << QStringLiteral("/home/ann/Docs/Out")
                                    << QStringLiteral("/home/ann") << QStringLiteral("~/Docs/Out");
        QTest::newRow("home") << QStringLiteral("/home/ann") << QStringLiteral("/home/ann")
                              << QStringLiteral("~");
        QTest::newRow("elsewhere") << QStringLiteral("/mnt/disk/Out") << QStringLiteral("/home/ann")
                                   << QStringLiteral("/mnt/disk/Out");
        QTest::newRow("a home that begins alike")
            << QStringLiteral("/home/anna/Out") << QStringLiteral("/home/ann")
            << QStringLiteral("/home/anna/Out");
        QTest::newRow("home further below")
            << QStringLiteral("/mnt/home/ann/Out") << QStringLiteral("/home/ann")
            << QStringLiteral("/mnt/home/ann/Out");
        QTest::newRow("home written otherwise")
            << QStringLiteral("/Home/Ann/Out") << QStringLiteral("/home/ann")
            << QStringLiteral("/Home/Ann/Out");
        QTest::newRow("a home at the root")
            << QStringLiteral("/Out") << QStringLiteral("/") << QStringLiteral("/Out");
    }

    void homeIsShownAsATilde()
    {
        QFETCH(QString, folder);
        QFETCH(QString, home);
        QFETCH(QString, wanted);
        QCOMPARE(abbreviatedPath(folder, home), wanted);
    }

    void folderIsThatOfTheExport()
    {
        WindowSetup setup;
        ContentView window(setup.start());
        const OneLine& folder = child<OneLine>(window, "folder");
        QCOMPARE(folder.font().pixelSize(), 11);
        setup.state().setOutputFolder(QDir::homePath().toStdString() + "/Documents/Mine");
        QCOMPARE(folder.text(), QStringLiteral("~/Documents/Mine"));
        setup.state().setOutputFolder("/elsewhere");
        QCOMPARE(folder.text(), QStringLiteral("/elsewhere"));
    }

    void longFolderIsCutInTheMiddle()
    {
        AppState::Preview preview = previewOf(1);
        preview.outputFolder = "/start/" + std::string(200, 'm') + "/end";
        AppState state(preview);
        ContentView window(state);
        window.show();
        OneLine& folder = child<OneLine>(window, "folder");
        QCOMPARE(folder.height(), QFontMetrics(folder.font()).height()); // one line
        QVERIFY(placeIn(window, folder).right() < placeIn(window, child(window, "change")).left());
        QCOMPARE(folder.toolTip(), folder.text()); // the whole path
        OneLine cut(folder.font(), Look::mute, Qt::ElideNone);
        cut.setText(
            QFontMetrics(folder.font()).elidedText(folder.text(), Qt::ElideMiddle, folder.width()));
        QVERIFY(cut.text().startsWith(QStringLiteral("/start/"))
            && cut.text().endsWith(QStringLiteral("/end")));
        cut.resize(folder.size());
        QCOMPARE(pictureOf(folder), pictureOf(cut));
    }

    void changeGoesOnFromTheFolderAroundTheOldOne()
    {
        WindowSetup setup;
        ContentView window(setup.start());
        window.show();
        setup.state().setOutputFolder("/somewhere/old");
        setup.picked = "/somewhere/new";
        QTest::mouseClick(&child(window, "change"), Qt::LeftButton);
        QCOMPARE(setup.startsOfPicks, std::vector<std::filesystem::path>{"/somewhere"});
        QCOMPARE(child<OneLine>(window, "folder").text(), QStringLiteral("/somewhere/new"));
        QCOMPARE(Settings().folder(), std::optional<std::filesystem::path>("/somewhere/new"));
    }

    void cancelledChangeChangesNothing()
    {
        WindowSetup setup;
        ContentView window(setup.start());
        window.show();
        setup.state().setOutputFolder("/somewhere/old");
        QTest::mouseClick(&child(window, "change"), Qt::LeftButton);
        QCOMPARE(setup.startsOfPicks.size(), std::size_t{1});
        QCOMPARE(child<OneLine>(window, "folder").text(), QStringLiteral("/somewhere/old"));
        QCOMPARE(Settings().folder(), std::optional<std::filesystem::path>("/somewhere/old"));
    }

    void switchAndSettingAreBoundBothWays()
    {
        WindowSetup setup;
        ContentView window(setup.start());
        window.show();
        CoralSwitch& flip = child<CoralSwitch>(window, "autoSync");
        QCOMPARE(flip.text(), QStringLiteral("Keep the export fresh every 30 seconds"));
        QCOMPARE(flip.font().pixelSize(), 12);
        QVERIFY(flip.isChecked());
        QTest::mouseClick(&flip, Qt::LeftButton, {}, {flip.width() - 20, flip.height() / 2});
        QVERIFY(!setup.state().autoSync());
        QVERIFY(!Settings().autoSync());
        setup.state().setAutoSync(true);
        QVERIFY(flip.isChecked());
        QVERIFY(Settings().autoSync());
    }

    void switchFirstAppearsAsItIsSet()
    {
        WindowSetup setup;
        setup.start().setAutoSync(false);
        ContentView window(setup.state());
        window.show();
        CoralSwitch& flip = child<CoralSwitch>(window, "autoSync");
        QVERIFY(!flip.isChecked());
        QCOMPARE(countOf(pictureOf(flip), Look::coral), 0); // off from the start, without sliding
    }

    void statusIsShownAsItChanges()
    {
        WindowSetup setup;
        setup.addChats(3);
        ContentView window(setup.start());
        const auto& status = child<QLabel>(window, "status");
        QCOMPARE(status.font().pixelSize(), 11);
        QCOMPARE(status.text(), QStringLiteral("3 chats · 0 selected"));
        setup.state().syncNow();
        QCOMPARE(status.text(), QStringLiteral("Select at least one chat"));
    }

    void longStatusWrapsAndTheListMakesRoom_data()
    {
        QTest::addColumn<QString>("status");
        QTest::newRow("no link") << QStringLiteral(
            "Could not create a transfer link. Check Wi-Fi and select one chat.");
        QTest::newRow("too large") << QStringLiteral(
            "This export is over 64 MB. Choose a smaller date range before transferring.");
        QTest::newRow("another export")
            << QStringLiteral("Error: Another export is running (korvane-sync, process 123456).");
        QTest::newRow("one long word") << QStringLiteral("Error: ") + QString(60, u'm');
    }

    void longStatusWrapsAndTheListMakesRoom()
    {
        QFETCH(QString, status);
        AppState::Preview preview = previewOf(200);
        preview.status = "200 chats · 0 selected";
        AppState brief(preview);
        preview.status = status.toStdString();
        AppState lengthy(preview);
        ContentView before(brief);
        ContentView window(lengthy);
        before.show();
        window.show();
        const auto& label = child<QLabel>(window, "status");
        QCOMPARE(label.text(), status);
        QCOMPARE(label.toolTip(), QString()); // nothing is cut off
        const int line = QFontMetrics(label.font()).height();
        const QRect text = placeIn(window, label);
        QVERIFY(text.height() >= 2 * line);
        QVERIFY(text.right() < placeIn(window, child(window, "syncNow")).left());
        QVERIFY(text.bottom() < window.height() - 18);
        const QImage picture = pictureOf(window);
        const QRect half(text.left(), text.center().y(), text.width(), text.height() / 2);
        QVERIFY(countOf(picture, Look::canvas, half) < half.width() * half.height());
        QCOMPARE(window.size(), before.size());
        QCOMPARE(child(window, "chats").height() - child(before, "chats").height(),
            child(before, "status").height() - text.height());
        QVERIFY(child(before, "status").height() < 2 * line);
    }

    void statusThatWrapsMakesRoomAsItComesAndGoes()
    {
        AppState state(previewOf(1));
        ContentView window(state);
        window.show();
        const int before = child(window, "chats").height();
        auto& label = child<Paragraph>(window, "status");
        label.setText(QString(100, u'm'));
        QTRY_VERIFY(child(window, "chats").height() < before);
        label.setText(QStringLiteral("brief"));
        QTRY_COMPARE(child(window, "chats").height(), before);
    }

    void longestStatusFitsBesideEachCard()
    {
        for (AppState::Preview preview : {PreviewStates::qr(), PreviewStates::access()}) {
            preview.status = "Error: " + std::string(500, 'm');
            AppState state(preview);
            ContentView window(state);
            window.show();
            const char* name = preview.needsAccess ? "tryAgain" : "done";
            const QWidget& card = *child(window, name).parentWidget();
            for (const QLabel* text : card.findChildren<QLabel*>(Qt::FindDirectChildrenOnly)) {
                QVERIFY(text->height() >= text->heightForWidth(text->width()));
                for (const QWidget* other : card.findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
                    QVERIFY(other == text || !other->geometry().intersects(text->geometry()));
            }
            const auto& footer = *window.findChild<Footer*>();
            QVERIFY(placeIn(window, card).bottom() < placeIn(window, footer).top());
            QCOMPARE(placeIn(window, footer).bottom(), window.height() - 1 - 18);
        }
    }

    void endlessStatusIsCutAfterFourLines()
    {
        AppState::Preview preview = previewOf(1);
        preview.status = "Error: <b>bold</b> & more" + std::string(500, 'm') + " the end";
        AppState state(preview);
        ContentView window(state);
        window.show();
        const auto& status = child<QLabel>(window, "status");
        QCOMPARE(status.height(), 4 * QFontMetrics(status.font()).height());
        QCOMPARE(status.text().toStdString(), preview.status); // uncut, for a screen reader
        QCOMPARE(status.toolTip(), QString::fromStdString(preview.status).toHtmlEscaped());
    }

    void syncNowExportsTheSelectedChats()
    {
        WindowSetup setup;
        setup.addChats(2);
        setup.start().toggle(WindowSetup::guid(1));
        ContentView window(setup.state());
        window.show();
        QStringList statuses;
        connect(&setup.state(), &AppState::statusChanged, this,
            [&] { statuses += QString::fromStdString(setup.state().status()); });
        Word& sync = child<Word>(window, "syncNow");
        QTest::mouseClick(&sync, Qt::LeftButton);
        QVERIFY(setup.state().isSyncing());
        QVERIFY(sync.isEnabled()); // during an export, too
        QTest::mouseClick(&sync, Qt::LeftButton); // ignored while one runs
        QTRY_COMPARE(statuses.size(), 2);
        QVERIFY(statuses[0].startsWith(QStringLiteral("Added 1 messages · ")));
        QCOMPARE(statuses[1], QStringLiteral("2 chats · 1 selected"));
        QCOMPARE(QDir(QString::fromStdString(setup.db.folder() + "/export"))
                     .entryList(QDir::Files)
                     .filter(QStringLiteral(".txt"))
                     .size(),
            1);
    }

    void quitAsksToQuit()
    {
        AppState state(previewOf(1));
        ContentView window(state);
        window.show();
        QSignalSpy quit(&window, &ContentView::quitRequested);
        QTest::mouseClick(&child(window, "quit"), Qt::LeftButton);
        QCOMPARE(quit.count(), 1);
    }

    void wordsOfTheFooterReadSo()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        QCOMPARE(child<Word>(window, "change").text(), QStringLiteral("Change"));
        QCOMPARE(child<Word>(window, "syncNow").text(), QStringLiteral("Sync now"));
        QCOMPARE(child<Word>(window, "quit").text(), QStringLiteral("Quit"));
    }
};

QTEST_MAIN(FooterTest)
#include "FooterTest.moc"
