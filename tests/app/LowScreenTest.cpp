#include "WindowSetup.h"

#include "app/HeaderAndFooter.h"
#include "app/Snapshot.h"

#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QtTest/QTest>

using namespace korvane;

/// The window on a screen that is lower than the window wants to be: 600 points, or as many as the
/// environment variable SCREEN_HEIGHT says.
class LowScreenTest : public WindowTest {
    Q_OBJECT

public:
    static void initMain()
    {
        WindowTest::initMain();
        if (!qEnvironmentVariableIsSet("SCREEN_HEIGHT"))
            qputenv("SCREEN_HEIGHT", "600");
        static const QTemporaryDir folder;
        useScreen(folder.path() + QStringLiteral("/screens.json"), 800,
            qEnvironmentVariableIntValue("SCREEN_HEIGHT"));
    }

private slots:
    void windowIsAsHighAsTheScreenAllows_data() { states(); }
    void windowIsAsHighAsTheScreenAllows()
    {
        QFETCH(QString, name);
        AppState state(previewNamed(name));
        ContentView window(state);
        window.show();
        QCOMPARE(window.screen()->availableGeometry().height(), height());
        QCOMPARE(window.size(),
            QSize(400, heightFor(window, name == QStringLiteral("code") ? 660 : 600)));
    }

    void heightFollowsTheState()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        window.show();
        QCOMPARE(window.height(), heightFor(window, 660));
        state.endTransfer();
        QCOMPARE(window.height(), heightFor(window, 600));
    }

    void headerAndFooterAreWhollyInView_data() { states(); }
    void headerAndFooterAreWhollyInView()
    {
        QFETCH(QString, name);
        AppState state(previewNamed(name));
        ContentView window(state);
        window.show();
        const auto* header = window.findChild<Header*>();
        const auto* footer = window.findChild<Footer*>();
        QCOMPARE(header->geometry().topLeft(), QPoint(18, 18));
        QCOMPARE(header->height(), header->sizeHint().height());
        QCOMPARE(footer->geometry().bottom(), window.height() - 1 - 18);
        QCOMPARE(footer->height(), footer->sizeHint().height());
        QVERIFY(window.rect().contains(placeIn(window, child(window, "quit"))));
    }

    void middleScrollsToAllOfTheCard()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        window.show();
        auto& middle = child<QScrollArea>(window, "middle");
        QWidget& done = child(window, "done");
        QCOMPARE(child(window, "code").size(), QSize(240, 240));
        QCOMPARE(done.parentWidget()->width(), 364);
        QVERIFY(middle.verticalScrollBar()->maximum() > 0);
        QCOMPARE(middle.verticalScrollBar()->value(), 0); // the code is visible first
        middle.verticalScrollBar()->setValue(middle.verticalScrollBar()->maximum());
        QVERIFY(placeIn(window, middle).contains(placeIn(window, done)));
    }

    void pageDownScrollsTheCard()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        QVERIFY(showActive(window));
        auto& middle = child<QScrollArea>(window, "middle");
        QTest::keyClick(window.focusWidget(), Qt::Key_PageDown);
        QVERIFY(middle.verticalScrollBar()->value() > 0);
    }

    void listScrollsWithinTheMiddle()
    {
        AppState state(previewOf(40));
        ContentView window(state);
        window.show();
        const auto& middle = child<QScrollArea>(window, "middle");
        QCOMPARE(middle.verticalScrollBar()->maximum(), 0);
        QVERIFY(placeIn(window, middle).contains(placeIn(window, child(window, "create"))));
    }

private:
    static int height() { return qEnvironmentVariableIntValue("SCREEN_HEIGHT"); }

    /// `wanted`, or less if the screen is too low for a window of that height and its frame.
    static int heightFor(const ContentView& window, int wanted)
    {
        const int frame = window.frameGeometry().height() - window.height();
        return std::min(wanted, height() - frame);
    }

    static void states()
    {
        QTest::addColumn<QString>("name");
        for (const char* name : {"list", "code", "access"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    static AppState::Preview previewNamed(const QString& name)
    {
        return name == QStringLiteral("list") ? PreviewStates::list()
            : name == QStringLiteral("code")  ? PreviewStates::qr()
                                              : PreviewStates::access();
    }
};

QTEST_MAIN(LowScreenTest)
#include "LowScreenTest.moc"
