#include "messages/MessageQuery.h"
#include "messages/Rows.h"

namespace korvane {

namespace {

const MessageColumns all{
    .message = {"ROWID", "guid", "text", "associated_message_type", "associated_message_guid",
        "thread_originator_guid", "item_type"},
    .attachment = {"ROWID", "mime_type"},
    .attachmentJoin = {"message_id", "attachment_id"},
};

constexpr std::string_view start
    = "SELECT m.ROWID, m.date, m.is_from_me, h.id, m.text, m.attributedBody, "
      "m.cache_has_attachments,\n       ";

constexpr std::string_view end
    = "\nFROM message m\nJOIN chat_message_join j ON j.message_id = m.ROWID\n"
      "LEFT JOIN handle h ON h.ROWID = m.handle_id\nWHERE j.chat_id = ? AND m.ROWID > ?\n"
      "ORDER BY m.date, m.ROWID";

ColumnSet allBut(const QString& missing, const std::vector<std::string>& names)
{
    ColumnSet columns;
    for (const std::string& name : names) {
        if (name != missing.toStdString())
            columns.insert(name);
    }
    return columns;
}

std::string query(const std::string& middle)
{
    return std::string(start) + middle + std::string(end);
}

} // namespace

/// The SQL texts. The message query depends on which columns the database has.
class MessageQueryTest : public QObject {
    Q_OBJECT

private slots:
    void allColumns()
    {
        QCOMPARE(messageQuery(all),
            R"(SELECT m.ROWID, m.date, m.is_from_me, h.id, m.text, m.attributedBody, m.cache_has_attachments,
       m.associated_message_type, m.associated_message_guid, m.thread_originator_guid,
       m.item_type, CASE WHEN EXISTS (SELECT 1 FROM message_attachment_join ma LEFT JOIN attachment a ON a.ROWID = ma.attachment_id
                  WHERE ma.message_id = m.ROWID AND (a.mime_type IS NULL OR TRIM(a.mime_type) = ''))
          OR (m.cache_has_attachments != 0 AND NOT EXISTS (SELECT 1 FROM message_attachment_join ma WHERE ma.message_id = m.ROWID))
     THEN NULL ELSE (SELECT COUNT(*) FROM message_attachment_join ma JOIN attachment a ON a.ROWID = ma.attachment_id
                     WHERE ma.message_id = m.ROWID AND a.mime_type LIKE 'image/%') END
FROM message m
JOIN chat_message_join j ON j.message_id = m.ROWID
LEFT JOIN handle h ON h.ROWID = m.handle_id
WHERE j.chat_id = ? AND m.ROWID > ?
ORDER BY m.date, m.ROWID)");
    }

    void noColumns()
    {
        QCOMPARE(messageQuery({}),
            R"(SELECT m.ROWID, m.date, m.is_from_me, h.id, m.text, m.attributedBody, m.cache_has_attachments,
       NULL, NULL, NULL,
       NULL, NULL
FROM message m
JOIN chat_message_join j ON j.message_id = m.ROWID
LEFT JOIN handle h ON h.ROWID = m.handle_id
WHERE j.chat_id = ? AND m.ROWID > ?
ORDER BY m.date, m.ROWID)");
    }

    void eachColumnHasItsPlace_data()
    {
        QTest::addColumn<QString>("column");
        QTest::addColumn<std::string>("middle");

        const auto row = [](const char* column, const char* middle) {
            QTest::newRow(column) << QString::fromLatin1(column) << std::string(middle);
        };
        row("associated_message_type", "m.associated_message_type, NULL, NULL,\n       NULL, NULL");
        row("associated_message_guid", "NULL, m.associated_message_guid, NULL,\n       NULL, NULL");
        row("thread_originator_guid", "NULL, NULL, m.thread_originator_guid,\n       NULL, NULL");
        row("item_type", "NULL, NULL, NULL,\n       m.item_type, NULL");
        row("guid", "NULL, NULL, NULL,\n       NULL, NULL");
    }

    void eachColumnHasItsPlace()
    {
        QFETCH(QString, column);
        QFETCH(std::string, middle);
        QCOMPARE(messageQuery({.message = {column.toStdString()}}), query(middle));
    }

    void photosNeedThreeColumns_data()
    {
        QTest::addColumn<QString>("missing");
        for (const char* column : {"mime_type", "message_id", "attachment_id"})
            QTest::newRow(column) << QString::fromLatin1(column);
    }

    void photosNeedThreeColumns()
    {
        QFETCH(QString, missing);
        MessageColumns columns = all;
        columns.attachment = allBut(missing, {"ROWID", "mime_type"});
        columns.attachmentJoin = allBut(missing, {"message_id", "attachment_id"});
        QCOMPARE(messageQuery(columns),
            query(
                "m.associated_message_type, m.associated_message_guid, m.thread_originator_guid,\n"
                "       m.item_type, NULL"));
    }

    void columnNamesMatchToTheLetter()
    {
        QCOMPARE(messageQuery({.message = {"ITEM_TYPE", "m.item_type", "associated_message"}}),
            messageQuery({}));
    }

    void guids()
    {
        QCOMPARE(std::string(guidQuery),
            "SELECT m.guid, m.ROWID FROM message m JOIN chat_message_join j ON j.message_id = "
            "m.ROWID "
            "WHERE j.chat_id = ?");
    }

    void participants()
    {
        QCOMPARE(std::string(participantQuery),
            "SELECT j.chat_id, h.id FROM chat_handle_join j JOIN handle h ON h.ROWID = "
            "j.handle_id");
    }

    void chats()
    {
        QCOMPARE(std::string(chatQuery),
            R"(SELECT c.ROWID, c.guid, COALESCE(c.display_name, ''), c.chat_identifier, c.style,
       MAX(m.date), COUNT(m.ROWID)
FROM chat c
JOIN chat_message_join j ON j.chat_id = c.ROWID
JOIN message m ON m.ROWID = j.message_id
GROUP BY c.ROWID
ORDER BY MAX(m.date) DESC)");
    }

    void resultColumnsAreWhereTheirNamesSay()
    {
        OneChat database;
        const std::int64_t id = database.addMessage(1,
            {.rowID = 21,
                .text = "text",
                .body = "body",
                .date = 22,
                .fromMe = true,
                .hasAttachments = true,
                .associatedType = 2023,
                .associatedGuid = "target",
                .threadGuid = "thread",
                .itemType = 24});
        database.addAttachment(id, "image/png");

        Sqlite::Statement row(database.sql(), messageQuery(all));
        row.bind(1, 1);
        row.bind(2, 20);
        QVERIFY(row.step());
        QCOMPARE(row.integer(MessageColumn::RowID), 21);
        QCOMPARE(row.integer(MessageColumn::Date), 22);
        QCOMPARE(row.integer(MessageColumn::IsFromMe), 1);
        QCOMPARE(row.text(MessageColumn::Handle).value(), "+15550100");
        QCOMPARE(row.text(MessageColumn::Text).value(), "text");
        QCOMPARE(row.blob(MessageColumn::AttributedBody).value(), "body");
        QCOMPARE(row.integer(MessageColumn::HasAttachments), 1);
        QCOMPARE(row.integer(MessageColumn::AssociatedType), 2023);
        QCOMPARE(row.text(MessageColumn::AssociatedGuid).value(), "target");
        QCOMPARE(row.text(MessageColumn::ThreadOriginatorGuid).value(), "thread");
        QCOMPARE(row.integer(MessageColumn::ItemType), 24);
        QCOMPARE(row.integer(MessageColumn::PhotoCount), 1);
        QVERIFY(!row.step());
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::MessageQueryTest)
#include "MessageQueryTest.moc"
