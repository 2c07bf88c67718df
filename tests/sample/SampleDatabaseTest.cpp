#include "messages/Sqlite.h"
#include "sample/TemporarySample.h"
#include "support/Printing.h"

#include <QRegularExpression>
#include <QtTest/QTest>

#include <limits>
#include <memory>

namespace korvane {

namespace {

constexpr SampleSize testSize{.messages = 30'000, .chats = 120, .seed = 7};

} // namespace

/// The tables of a sample database: sizes, indexes, consistency and proportions.
class SampleDatabaseTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { m_sample = std::make_unique<TemporarySample>(testSize); }

    void hasTheRequestedNumberOfRows()
    {
        QCOMPARE(m_sample->number("SELECT COUNT(*) FROM message"), testSize.messages);
        QCOMPARE(m_sample->number("SELECT MAX(ROWID) FROM message"), testSize.messages);
        QCOMPARE(m_sample->number("SELECT COUNT(*) FROM chat"), testSize.chats);
    }

    void hasTheIndexesOfARealDatabase_data()
    {
        QTest::addColumn<std::string>("table");
        QTest::addColumn<std::string>("columns");
        QTest::addColumn<bool>("unique");
        const auto row = [](const char* table, const char* columns, bool unique) {
            QTest::addRow("%s (%s)", table, columns)
                << std::string(table) << std::string(columns) << unique;
        };
        row("chat", "guid", true);
        row("handle", "id,service", true);
        row("message", "guid", true);
        row("message", "date", false);
        row("message", "handle_id,date", false);
        row("attachment", "guid", true);
        row("chat_message_join", "chat_id,message_id", true);
        row("chat_message_join", "chat_id,message_date,message_id", false);
        row("chat_message_join", "message_id", false);
        row("chat_message_join", "chat_id", false);
        row("message_attachment_join", "message_id,attachment_id", true);
        row("message_attachment_join", "message_id", false);
        row("message_attachment_join", "attachment_id", false);
        row("chat_handle_join", "chat_id,handle_id", true);
        row("chat_handle_join", "handle_id", false);
    }

    void hasTheIndexesOfARealDatabase()
    {
        QFETCH(std::string, table);
        QFETCH(std::string, columns);
        QFETCH(bool, unique);
        Sqlite::Statement indexes
            = m_sample->query("SELECT i.[unique], (SELECT group_concat(name) FROM"
                              " (SELECT name FROM pragma_index_info(i.name) ORDER BY seqno))"
                              " FROM pragma_index_list('"
                + table + "') i");
        int found = 0;
        while (indexes.step())
            if (indexes.text(1) == columns && (indexes.integer(0) != 0) == unique)
                ++found;
        QCOMPARE(found, 1);
    }

    void tablesAreConsistent_data()
    {
        QTest::addColumn<std::string>("faults");
        const auto row = [](const char* name, const char* faults) {
            QTest::newRow(name) << std::string(faults);
        };
        row("a join row that refers to a missing row",
            "SELECT COUNT(*) FROM pragma_foreign_key_check");
        row("a corrupt page or index",
            "SELECT COUNT(*) FROM pragma_integrity_check WHERE integrity_check <> 'ok'");
        row("a sender that is no handle",
            "SELECT COUNT(*) FROM message WHERE handle_id <> 0"
            " AND handle_id NOT IN (SELECT ROWID FROM handle)");
        row("a sender that is no member of the chat",
            "SELECT COUNT(*) FROM message m JOIN chat_message_join j ON j.message_id = m.ROWID"
            " WHERE m.is_from_me = 0 AND NOT EXISTS (SELECT 1 FROM chat_message_join o"
            " JOIN chat_handle_join h ON h.chat_id = o.chat_id"
            " WHERE o.message_id = m.ROWID AND h.handle_id = m.handle_id)");
        row("a date that differs from the one in the join row",
            "SELECT COUNT(*) FROM chat_message_join j JOIN message m ON m.ROWID = j.message_id"
            " WHERE m.date <> j.message_date");
        row("an attachment of a message not marked as having any",
            "SELECT COUNT(*) FROM message_attachment_join j JOIN message m ON m.ROWID = "
            "j.message_id"
            " WHERE m.cache_has_attachments = 0");
        row("a text in both columns",
            "SELECT COUNT(*) FROM message WHERE text IS NOT NULL AND attributedBody IS NOT NULL");
        row("a message without text, though not a system message",
            "SELECT COUNT(*) FROM message WHERE item_type = 0 AND text IS NULL"
            " AND attributedBody IS NULL");
    }

    void tablesAreConsistent()
    {
        QFETCH(std::string, faults);
        QCOMPARE(m_sample->number(faults), std::int64_t{0});
    }

    void messageKindsHaveRealisticShares_data()
    {
        QTest::addColumn<std::string>("rows");
        QTest::addColumn<int>("atLeastPerThousand");
        QTest::addColumn<int>("atMostPerThousand");
        const auto row = [](const char* name, const char* rows, int atLeast, int atMost) {
            QTest::newRow(name) << std::string(rows) << atLeast << atMost;
        };
        row("with attachments", "message WHERE cache_has_attachments = 1", 50, 70);
        row("reactions", "message WHERE associated_message_type BETWEEN 2000 AND 2005", 85, 110);
        row("removed reactions", "message WHERE associated_message_type BETWEEN 3000 AND 3005", 2,
            15);
        row("replies", "message WHERE thread_originator_guid IS NOT NULL", 40, 60);
        row("system messages", "message WHERE item_type <> 0", 4, 15);
        row("texts in the text column", "message WHERE text IS NOT NULL", 130, 170);
        row("from me", "message WHERE is_from_me = 1", 400, 500);
        row("in no chat", "message WHERE ROWID NOT IN (SELECT message_id FROM chat_message_join)",
            2, 20);
        row("in two chats",
            "(SELECT 1 FROM chat_message_join GROUP BY message_id HAVING COUNT(*) = 2)", 1, 6);
    }

    void messageKindsHaveRealisticShares()
    {
        QFETCH(std::string, rows);
        QFETCH(int, atLeastPerThousand);
        QFETCH(int, atMostPerThousand);
        const std::int64_t count = m_sample->number("SELECT COUNT(*) FROM " + rows);
        QVERIFY2(count * 1000 >= atLeastPerThousand * testSize.messages
                && count * 1000 <= atMostPerThousand * testSize.messages,
            qPrintable(QString::number(count)));
    }

    void everyFourthChatIsAGroup()
    {
        Sqlite::Statement chats
            = m_sample->query("SELECT c.style, COUNT(*), COUNT(DISTINCT h.handle_id),"
                              " c.display_name IS NOT NULL FROM chat c"
                              " JOIN chat_handle_join h ON h.chat_id = c.ROWID GROUP BY c.ROWID");
        std::int64_t groups = 0;
        std::int64_t named = 0;
        while (chats.step()) {
            const bool isGroup = chats.integer(0) == 43;
            const std::int64_t members = chats.integer(1);
            QVERIFY(isGroup ? members >= 3 && members <= 12 : members == 1);
            QCOMPARE(chats.integer(2), members);
            groups += isGroup ? 1 : 0;
            named += chats.integer(3);
        }
        QCOMPARE(groups, testSize.chats / 4);
        QVERIFY(named > groups / 2 && named < groups);
    }

    void fewChatsHoldMostMessages()
    {
        Sqlite::Statement chats
            = m_sample->query("SELECT COUNT(*) FROM chat_message_join GROUP BY chat_id"
                              " ORDER BY COUNT(*) DESC");
        std::int64_t inBusiestTenth = 0;
        for (int chat = 0; chat < testSize.chats / 10 && chats.step(); ++chat)
            inBusiestTenth += chats.integer(0);
        QVERIFY(inBusiestTenth > testSize.messages / 3);
        QVERIFY(inBusiestTenth < testSize.messages * 4 / 5);
    }

    void handlesAreInBlocksReservedForFiction()
    {
        const QRegularExpression reserved(
            QStringLiteral(
                "^([^@]+@example\\.(com|org)|\\+1\\d{3}55501\\d\\d|\\(\\d{3}\\) 555-01\\d\\d"
                "|(\\+49|0)(3023125|4066969|6990009|8999998)\\d{3}|(\\+44|0)7700900\\d{3})$"),
            QRegularExpression::CaseInsensitiveOption);
        Sqlite::Statement handles = m_sample->query("SELECT id FROM handle");
        while (handles.step()) {
            const QString handle
                = QString::fromStdString(std::string(handles.text(0).value_or("")));
            QVERIFY2(reserved.match(handle).hasMatch(), qPrintable(handle));
        }
    }

    void writesSamplesOfAnySize_data()
    {
        QTest::addColumn<qint64>("messages");
        QTest::addColumn<qint64>("chats");
        QTest::addColumn<qint64>("messagesInChats");
        QTest::newRow("no messages, no chats") << qint64{0} << qint64{0} << qint64{0};
        QTest::newRow("a chat without messages") << qint64{0} << qint64{1} << qint64{0};
        QTest::newRow("messages without chats") << qint64{500} << qint64{0} << qint64{0};
        QTest::newRow("one message") << qint64{1} << qint64{1} << qint64{1};
        QTest::newRow("more chats than messages") << qint64{3} << qint64{100} << qint64{3};
        QTest::newRow("exactly one batch of rows") << qint64{32} << qint64{32} << qint64{32};
        QTest::newRow("more chats than reserved phone numbers")
            << qint64{0} << qint64{30'000} << qint64{0};
    }

    void writesSamplesOfAnySize()
    {
        QFETCH(qint64, messages);
        QFETCH(qint64, chats);
        QFETCH(qint64, messagesInChats);
        TemporarySample sample({.messages = messages, .chats = chats});
        QCOMPARE(sample.number("SELECT COUNT(*) FROM message"), std::int64_t{messages});
        QCOMPARE(sample.number("SELECT COUNT(*) FROM chat"), std::int64_t{chats});
        QCOMPARE(sample.number("SELECT COUNT(DISTINCT message_id) FROM chat_message_join"),
            std::int64_t{messagesInChats});
        QCOMPARE(sample.number("SELECT COUNT(*) FROM pragma_foreign_key_check"), std::int64_t{0});
    }

    void everyChatGetsAMessageIfThereAreEnough()
    {
        TemporarySample sample({.messages = 1000, .chats = 300});
        QCOMPARE(sample.number("SELECT COUNT(DISTINCT chat_id) FROM chat_message_join"),
            std::int64_t{300});
    }

    void rejectsSizesOutOfRange_data()
    {
        QTest::addColumn<qint64>("messages");
        QTest::addColumn<qint64>("chats");
        QTest::newRow("negative number of messages") << qint64{-1} << qint64{1};
        QTest::newRow("negative number of chats") << qint64{1} << qint64{-1};
        QTest::newRow("too many chats")
            << qint64{1} << qint64{std::numeric_limits<std::int64_t>::max()};
    }

    void rejectsSizesOutOfRange()
    {
        QFETCH(qint64, messages);
        QFETCH(qint64, chats);
        QVERIFY_THROWS_EXCEPTION(DBError, TemporarySample({.messages = messages, .chats = chats}));
    }

private:
    std::unique_ptr<TemporarySample> m_sample;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::SampleDatabaseTest)
#include "SampleDatabaseTest.moc"
