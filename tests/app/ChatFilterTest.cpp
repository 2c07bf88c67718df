#include "WindowSetup.h"

#include "app/ChatFilter.h"
#include "app/ChatListModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QtTest/QTest>

using namespace korvane;
using namespace Qt::StringLiterals;

class ChatFilterTest : public WindowTest {
    Q_OBJECT

private slots:
    void queryLetsThrough_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("wanted"); // numbers of the chats in chats()
        const QString all = u"1 2 3 4 5 6 7 8 9"_s;
        QTest::newRow("nothing typed") << u""_s << all;
        QTest::newRow("one space") << u" "_s << all;
        QTest::newRow("spaces only") << u"     "_s << all;
        QTest::newRow("tabs only") << u"\t\t"_s << all;
        QTest::newRow("spaces of other kinds") << u"\u00A0\u2003\u3000"_s << all;
        QTest::newRow("a word") << u"Weekend"_s << u"1 2"_s;
        QTest::newRow("in capitals") << u"WEEKEND"_s << u"1 2"_s;
        QTest::newRow("part of a word") << u"eeke"_s << u"1 2"_s;
        QTest::newRow("two words") << u"weekend people"_s << u"1"_s;
        QTest::newRow("words in another order") << u"people weekend"_s << u""_s;
        QTest::newRow("spaces around") << u"  dad\t "_s << u"3"_s;
        QTest::newRow("a space between") << u"flat 4b"_s << u"4"_s;
        QTest::newRow("two spaces between") << u"flat  4b"_s << u""_s;
        QTest::newRow("an accent") << u"TOMÁS"_s << u"5"_s;
        QTest::newRow("no accent") << u"tomas"_s << u""_s;
        QTest::newRow("Greek") << u"αΘήνα"_s << u"6"_s;
        QTest::newRow("Chinese") << u"三"_s << u"7"_s;
        QTest::newRow("an emoji") << u"🎉"_s << u"7"_s;
        QTest::newRow("no chat's") << u"zzz"_s << u""_s;
        QTest::newRow("a pattern's sign") << u".*"_s << u""_s;
        QTest::newRow("a sign that is there") << u"+1 (2"_s << u"8"_s;
        QTest::newRow("a line break after it") << u"dad\n"_s << u""_s;
        QTest::newRow("a line break before it") << u"\ndad"_s << u""_s;
        QTest::newRow("line break only") << u"\n"_s << u""_s;
        QTest::newRow("a line separator only") << u"\u2028"_s << u""_s;
    }

    void queryLetsThrough()
    {
        QFETCH(QString, query);
        QFETCH(QString, wanted);
        AppState state(chats());
        ChatListModel model(state);
        ChatFilter filter;
        filter.setSourceModel(&model);
        const QAbstractItemModelTester tester(
            &filter, QAbstractItemModelTester::FailureReportingMode::Fatal);
        filter.setQuery(query);
        QCOMPARE(numbersIn(filter), wanted);
        filter.setQuery(QString());
        QCOMPARE(filter.rowCount(), model.rowCount());
    }

    void sameQueryIsNotWorkedThroughAgain()
    {
        AppState state(chats());
        ChatListModel model(state);
        ChatFilter filter;
        filter.setSourceModel(&model);
        filter.setQuery(u"dad"_s);
        QSignalSpy inserted(&filter, &ChatFilter::rowsInserted);
        QSignalSpy removed(&filter, &ChatFilter::rowsRemoved);
        filter.setQuery(u"  DAD "_s);
        QCOMPARE(inserted.count() + removed.count(), 0);
        QCOMPARE(numbersIn(filter), u"3"_s);
    }

    void renamedChatComesAndGoes()
    {
        WindowSetup setup;
        setup.addChats(2);
        ChatListModel model(setup.start());
        ChatFilter filter;
        filter.setSourceModel(&model);
        filter.setQuery(u"renamed"_s);
        QCOMPARE(filter.rowCount(), 0);
        setup.db.sql().execute("UPDATE chat SET display_name = 'Renamed' WHERE ROWID = 2");
        setup.state().reloadChats();
        QTRY_COMPARE(filter.rowCount(), 1);
        setup.db.sql().execute("UPDATE chat SET display_name = 'Elsewhere' WHERE ROWID = 2");
        setup.state().reloadChats();
        QTRY_COMPARE(filter.rowCount(), 0);
    }

private:
    static AppState::Preview chats()
    {
        AppState::Preview preview = previewOf(9);
        preview.titles = {{1, "The Weekend People"}, {2, "weekend"}, {3, "Dad"}, {4, "Flat 4B"},
            {5, "Noor & Tomás"}, {6, "ΑΘΉΝΑ"}, {7, "三 🎉"}, {8, "+1 (202) 555-0142"}};
        return preview; // the ninth chat has no title
    }

    static QString numbersIn(const ChatFilter& filter)
    {
        QStringList numbers;
        for (int row = 0; row < filter.rowCount(); ++row)
            numbers += filter.index(row, 0).data(ChatListModel::GuidRole).toString().mid(5);
        return numbers.join(u' ');
    }
};

QTEST_MAIN(ChatFilterTest)
#include "ChatFilterTest.moc"
