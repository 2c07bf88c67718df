#include "WindowSetup.h"

#include "app/ChatListModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QtTest/QTest>

using namespace korvane;
class ChatFilterTest : public WindowTest {
    Q_OBJECT

private slots:
    void queryLetsThrough_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("wanted"); // numbers of the chats in chats()
        const QString all = QStringLiteral("1 2 3 4 5 6 7 8 9");
        QTest::newRow("nothing typed") << QStringLiteral("") << all;
        QTest::newRow("one space") << QStringLiteral(" ") << all;
        QTest::newRow("spaces only") << QStringLiteral("     ") << all;
        QTest::newRow("tabs only") << QStringLiteral("\t\t") << all;
        QTest::newRow("spaces of other kinds") << QStringLiteral("\u00A0\u2003\u3000") << all;
        QTest::newRow("a word") << QStringLiteral("Weekend") << QStringLiteral("1 2");
        QTest::newRow("in capitals") << QStringLiteral("WEEKEND") << QStringLiteral("1 2");
        QTest::newRow("part of a word") << QStringLiteral("eeke") << QStringLiteral("1 2");
        QTest::newRow("two words") << QStringLiteral("weekend people") << QStringLiteral("1");
        QTest::newRow("words in another order")
            << QStringLiteral("people weekend") << QStringLiteral("");
        QTest::newRow("spaces around") << QStringLiteral("  dad\t ") << QStringLiteral("3");
        QTest::newRow("a space between") << QStringLiteral("flat 4b") << QStringLiteral("4");
        QTest::newRow("two spaces between") << QStringLiteral("flat  4b") << QStringLiteral("");
        QTest::newRow("an accent") << QStringLiteral("TOMÁS") << QStringLiteral("5");
        QTest::newRow("no accent") << QStringLiteral("tomas") << QStringLiteral("");
        QTest::newRow("Greek") << QStringLiteral("αΘήνα") << QStringLiteral("6");
        QTest::newRow("Chinese") << QStringLiteral("三") << QStringLiteral("7");
        QTest::newRow("an emoji") << QStringLiteral("🎉") << QStringLiteral("7");
        QTest::newRow("no chat's") << QStringLiteral("zzz") << QStringLiteral("");
        QTest::newRow("a pattern's sign") << QStringLiteral(".*") << QStringLiteral("");
        QTest::newRow("a sign that is there") << QStringLiteral("+1 (2") << QStringLiteral("8");
        QTest::newRow("a line break after it") << QStringLiteral("dad\n") << QStringLiteral("");
        QTest::newRow("a line break before it") << QStringLiteral("\ndad") << QStringLiteral("");
        QTest::newRow("line break only") << QStringLiteral("\n") << QStringLiteral("");
        QTest::newRow("a line separator only") << QStringLiteral("\u2028") << QStringLiteral("");
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
        filter.setQuery(QStringLiteral("dad"));
        QSignalSpy inserted(&filter, &ChatFilter::rowsInserted);
        QSignalSpy removed(&filter, &ChatFilter::rowsRemoved);
        filter.setQuery(QStringLiteral("  DAD "));
        QCOMPARE(inserted.count() + removed.count(), 0);
        QCOMPARE(numbersIn(filter), QStringLiteral("3"));
    }

    void renamedChatComesAndGoes()
    {
        WindowSetup setup;
        setup.addChats(2);
        ChatListModel model(setup.start());
        ChatFilter filter;
        filter.setSourceModel(&model);
        filter.setQuery(QStringLiteral("renamed"));
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
