#include "WindowSetup.h"

#include "app/ChatListView.h"
#include "app/Controls.h"
#include "app/HeaderAndFooter.h"
#include "app/Labels.h"
#include "app/Look.h"
#include "app/Snapshot.h"

#include <QScrollBar>
#include <QtTest/QTest>

using namespace korvane;
using namespace Qt::StringLiterals;

/// Sizes, margins and spacing; every text has enough room.
class LayoutTest : public WindowTest {
    Q_OBJECT

private slots:
    void windowHasItsSizeInEachState_data() { states(); }
    void windowHasItsSizeInEachState()
    {
        QFETCH(QString, name);
        AppState state(previewNamed(name));
        ContentView window(state);
        const QSize wanted(400, name == "code"_L1 ? 660 : 600);
        QCOMPARE(window.size(), wanted);
        QCOMPARE(window.minimumSize(), wanted);
        QCOMPARE(window.maximumSize(), wanted);
    }

    void windowWithoutAFrameHasAnEdgeOfItsOwn()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        QCOMPARE(countOf(edgeOf(window), Look::canvas), 400 + 400);
        window.setWindowFlag(Qt::FramelessWindowHint);
        const QImage edge = edgeOf(window);
        for (int x = 0; x < edge.width(); ++x) { // cream at an opacity of 0.12
            QVERIFY(std::abs(edge.pixelColor(x, 0).red() - 29) <= 2);
            QVERIFY(std::abs(edge.pixelColor(x, 1).red() - 29) <= 2);
        }
    }

    void windowGrowsAndShrinksWithTheCode()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        window.show();
        QCOMPARE(window.size(), QSize(400, 660));
        state.endTransfer();
        QCOMPARE(window.size(), QSize(400, 600));
    }

    void piecesStandInOrderFourteenPointsApart_data() { states(); }
    void piecesStandInOrderFourteenPointsApart()
    {
        QFETCH(QString, name);
        AppState state(previewNamed(name));
        ContentView window(state);
        window.show();
        const auto pieces = visiblePieces(window);
        QCOMPARE(pieces.size(), std::size_t{3});
        QVERIFY(qobject_cast<const Header*>(pieces[0]));
        QVERIFY(qobject_cast<const Footer*>(pieces[2]));
        const QRect header = pieces[0]->geometry();
        const QRect middle = pieces[1]->geometry();
        const QRect footer = pieces[2]->geometry();
        QCOMPARE(header.topLeft(), QPoint(18, 18));
        QCOMPARE(header.width(), 364);
        QCOMPARE(middle.left(), 18);
        QCOMPARE(middle.width(), 364);
        QCOMPARE(footer.left(), 18);
        QCOMPARE(footer.bottom(), window.height() - 1 - 18);
        QCOMPARE(middle.top() - header.bottom() - 1, 14);
        if (name == "list"_L1)
            QCOMPARE(footer.top() - middle.bottom() - 1, 14);
        else
            QVERIFY(footer.top() - middle.bottom() - 1 >= 14);
    }

    void chatPaneIsSearchListAndButton()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        window.show();
        const QWidget& search = child(window, "search");
        const QRect row = placeIn(window, *search.parentWidget());
        const QRect list = placeIn(window, child(window, "chats"));
        const QRect button = placeIn(window, child(window, "create"));
        QCOMPARE(row.left(), 18);
        QCOMPARE(row.width(), 364);
        QCOMPARE(search.geometry().right(), row.width() - 1 - 12); // padding of 12 points
        QCOMPARE(search.font().pixelSize(), 13);
        QCOMPARE(button.left(), 18);
        QCOMPARE(button.width(), 364); // full width
        QVERIFY(row.bottom() < list.top() && list.bottom() < button.top());
        QVERIFY(list.height() > 250);
        const QImage picture = pictureOf(window);
        QCOMPARE(picture.pixelColor(row.center()), Look::raised);
        QCOMPARE(picture.pixelColor(row.topLeft()), Look::canvas); // the corner is rounded
        QCOMPARE(picture.pixelColor(button.left() + 20, button.center().y()), Look::coral);
    }

    void listHasNoScrollIndicators()
    {
        AppState state(previewOf(200));
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        QCOMPARE(list.viewport()->width(), 364);
        QVERIFY(list.verticalScrollBar()->maximum() > 1000);
        QVERIFY(!list.verticalScrollBar()->isVisible());
        QVERIFY(!list.horizontalScrollBar()->isVisible());
    }

    void selectedRowIsOutlinedAndItsMarkFilled()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        const QImage picture = pictureOf(*list.viewport());
        const QRect selected = list.visualRect(list.model()->index(0, 0));
        const QRect other = list.visualRect(list.model()->index(1, 0));
        const QColor stroke = over(Look::card, Look::coral, 0.7);
        const QColor seen = picture.pixelColor(selected.center().x(), selected.top());
        QVERIFY(std::abs(seen.red() - stroke.red()) <= 12); // half of the stroke lies on the canvas
        QVERIFY(countOf(picture, Look::coral, selected) > 200); // the mark, a circle 20 points wide
        QCOMPARE(countOf(picture, Look::coral, other), 0);
        QCOMPARE(picture.pixelColor(other.center()), Look::card);
        QCOMPARE(picture.pixelColor(other.left() + 22, other.top() + 27), Look::card); // empty mark
    }

    void groupHasASymbolBehindItsTitle()
    {
        AppState::Preview preview = previewOf(2);
        preview.titles = {{1, "Same"}, {2, "Same"}};
        preview.chats[0].isGroup = true;
        AppState state(preview);
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        const QImage picture = pictureOf(*list.viewport());
        const QRect rows[] = {titleIn(list, 0), titleIn(list, 1)};
        QVERIFY(countOf(picture, Look::mute, rows[0]) > 10);
        QCOMPARE(countOf(picture, Look::mute, rows[1]), 0);
    }

    void longTitleIsCutAndTheSymbolKept()
    {
        AppState::Preview preview = previewOf(2);
        preview.titles = {{1, std::string(300, 'W')}, {2, std::string(300, 'W')}};
        preview.chats[0].isGroup = true;
        AppState state(preview);
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        const QImage picture = pictureOf(*list.viewport());
        QVERIFY(countOf(picture, Look::mute, titleIn(list, 0)) > 10);
        for (int row = 0; row < 2; ++row) { // the padding stays free
            const QRect all = list.visualRect(list.model()->index(row, 0));
            const QRect edge(all.right() - 10, all.top() + 10, 8, 30);
            QCOMPARE(countOf(picture, Look::card, edge), edge.width() * edge.height());
        }
    }

    void ellipsisStandsWhereTheTitleIsCut_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("atItsLeft");
        QTest::addColumn<bool>("atItsRight");
        const QString latin(60, u'W');
        const QString hebrew(60, u'\u05E9');
        QTest::newRow("Latin") << latin << false << true;
        QTest::newRow("Hebrew") << hebrew << true << false;
        QTest::newRow("Hebrew with a Latin end") << hebrew + u" WWW"_s << true << false;
        QTest::newRow("Hebrew and a number") << u"2026 "_s + hebrew << true << false;
        QTest::newRow("Hebrew after a Latin name") << u"Bob "_s + hebrew << false << false;
        QTest::newRow("Latin after a Hebrew name") << hebrew.left(4) + latin << false << false;
    }

    void ellipsisStandsWhereTheTitleIsCut()
    {
        QFETCH(QString, title);
        AppState::Preview preview = previewOf(1);
        preview.titles[1] = title.toStdString();
        AppState state(preview);
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        const QRect area = list.visualRect(list.model()->index(0, 0)).adjusted(40, 8, -2, -33);
        checkEllipsis(pictureOf(*list.viewport()), area);
    }

    void ellipsisStandsWhereTheTransferredTitleIsCut_data()
    {
        ellipsisStandsWhereTheTitleIsCut_data();
    }
    void ellipsisStandsWhereTheTransferredTitleIsCut()
    {
        QFETCH(QString, title);
        AppState::Preview preview = PreviewStates::qr();
        preview.transferChatTitle = title.toStdString();
        AppState state(preview);
        ContentView window(state);
        window.show();
        const QImage picture = pictureOf(child<OneLine>(window, "transferTitle"));
        checkEllipsis(picture, picture.rect());
    }

    void cutTransferredTitleIsShownInFullByATooltip()
    {
        AppState::Preview preview = PreviewStates::qr();
        preview.transferChatTitle = "Noor & Tomás, Maya & Dad, and everybody else of the family";
        AppState state(preview);
        ContentView window(state);
        window.show();
        QCOMPARE(child(window, "transferTitle").toolTip().toStdString(),
            preview.transferChatTitle.value());
    }

    void noSliverOfARowIsLeftAtTheBottomOfTheList()
    {
        AppState state(previewOf(40));
        ContentView window(state);
        window.show();
        auto& list = child<ChatListView>(window, "chats");
        window.setMaximumSize(400, 800);
        for (int height = 560; height <= 640; ++height) { // the list's height depends on the fonts
            window.setFixedHeight(height);
            const int cut = list.viewport()->height() % 60;
            QVERIFY2(cut == 0 || cut >= 14, qPrintable(QString::number(height)));
            QVERIFY(list.height() - list.viewport()->height() < 14);
        }
    }

    void everyTextHasRoom_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("family");
        for (const char* state : {"list", "code", "access"}) {
            for (const char* family : {"", "Inter", "DejaVu Sans", "Quicksand"})
                QTest::addRow("%s in %s", state, *family ? family : "the system's font")
                    << QString::fromLatin1(state) << QString::fromLatin1(family);
        }
    }

    void everyTextHasRoom()
    {
        QFETCH(QString, name);
        QFETCH(QString, family);
        const QFont before = QApplication::font();
        if (!family.isEmpty())
            QApplication::setFont(QFont(family));
        AppState state(previewNamed(name));
        ContentView window(state);
        QApplication::setFont(before);
        window.show();
        int texts = 0;
        for (QWidget* widget : window.findChildren<QWidget*>()) {
            if (!widget->isVisible())
                continue;
            texts += isText(widget) ? 1 : 0;
            if (isText(widget))
                QVERIFY2(hasRoom(*widget), qPrintable(describe(*widget)));
            const QRect inside = widget->parentWidget()->rect();
            QVERIFY2(inside.contains(widget->geometry()), qPrintable(describe(*widget)));
        }
        QVERIFY(texts >= 8);
        if (const auto* code = window.findChild<QWidget*>(QStringLiteral("code"));
            code && code->isVisible())
            QCOMPARE(code->parentWidget()->size(), QSize(264, 264)); // it never shrinks
    }

private:
    static void states()
    {
        QTest::addColumn<QString>("name");
        for (const char* name : {"list", "code", "access"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    static AppState::Preview previewNamed(const QString& name)
    {
        return name == "list"_L1 ? PreviewStates::list()
            : name == "code"_L1  ? PreviewStates::qr()
                                 : PreviewStates::access();
    }

    static std::vector<const QWidget*> visiblePieces(const ContentView& window)
    {
        std::vector<const QWidget*> pieces;
        for (const QObject* object : window.children()) {
            const auto* piece = qobject_cast<const QWidget*>(object);
            if (piece && piece->isVisible())
                pieces.push_back(piece);
        }
        std::sort(pieces.begin(), pieces.end(),
            [](const QWidget* one, const QWidget* other) { return one->y() < other->y(); });
        return pieces;
    }

    /// The top and the bottom row of pixels, as an image of two rows.
    static QImage edgeOf(ContentView& window)
    {
        const QImage picture = pictureOf(window);
        QImage edge(picture.width(), 2, picture.format());
        for (int x = 0; x < picture.width(); ++x) {
            edge.setPixelColor(x, 0, picture.pixelColor(x, 0));
            edge.setPixelColor(x, 1, picture.pixelColor(x, picture.height() - 1));
        }
        return edge;
    }

    /// The area of a row's title and symbol, right of the mark.
    static QRect titleIn(const ChatListView& list, int row)
    {
        return list.visualRect(list.model()->index(row, 0)).adjusted(40, 8, -2, -32);
    }

    /// The bounds of the bright pixels in the area.
    static QRect inkOf(const QImage& picture, const QRect& area)
    {
        QRect ink;
        for (int y = area.top(); y <= area.bottom(); ++y) {
            for (int x = area.left(); x <= area.right(); ++x) {
                if (picture.pixelColor(x, y).green() > 128)
                    ink |= QRect(x, y, 1, 1);
            }
        }
        return ink;
    }

    /// Finds an ellipsis by its shape: the upper half of its place is empty.
    static void checkEllipsis(const QImage& picture, const QRect& area)
    {
        QFETCH(bool, atItsLeft);
        QFETCH(bool, atItsRight);
        const QRect ink = inkOf(picture, area);
        QVERIFY(ink.width() > 250);
        const QSize sign(8, ink.height() / 2);
        const QRect left(ink.topLeft(), sign);
        const QRect right(QPoint(ink.right() + 1 - sign.width(), ink.top()), sign);
        QCOMPARE(inkOf(picture, left).isEmpty(), atItsLeft);
        QCOMPARE(inkOf(picture, right).isEmpty(), atItsRight);
    }

    static QColor over(const QColor& ground, const QColor& colour, double opacity)
    {
        const auto mix = [&](int below, int above) {
            return static_cast<int>(below + (above - below) * opacity);
        };
        return {mix(ground.red(), colour.red()), mix(ground.green(), colour.green()),
            mix(ground.blue(), colour.blue())};
    }

    static bool isText(const QWidget* widget)
    {
        return qobject_cast<const QLabel*>(widget) || qobject_cast<const QAbstractButton*>(widget)
            || qobject_cast<const OneLine*>(widget);
    }

    static bool hasRoom(const QWidget& widget)
    {
        const QSize wanted = widget.sizeHint();
        if (widget.hasHeightForWidth())
            return widget.height() >= widget.heightForWidth(widget.width());
        return widget.width() >= wanted.width() && widget.height() >= wanted.height();
    }

    static QString describe(const QWidget& widget)
    {
        QString text;
        QDebug(&text) << &widget << "wants" << widget.sizeHint() << "has" << widget.geometry();
        return text;
    }
};

QTEST_MAIN(LayoutTest)
#include "LayoutTest.moc"
