#include "messages/Rows.h"

namespace korvane {

namespace {

/// Adds a message with a photo, a reply, a reaction and a system row.
void fill(OneChat& database)
{
    database.addMessage(1, {.guid = "A", .hasAttachments = true});
    database.addAttachment(1, "image/jpeg");
    database.addMessage(1, {.threadGuid = "A"});
    database.addMessage(1, {.associatedType = 2001, .associatedGuid = "p:0/A"});
    database.addMessage(1, {.itemType = 1});
}

std::string text(const Kind& kind)
{
    return std::string(kind.value_or("-"));
}

std::string text(const RowID& id)
{
    return id ? std::to_string(*id) : "-";
}

/// The fields that come from optional columns, in one line.
std::string told(const MessageRow& row)
{
    return text(row.recordKind) + " " + text(row.reactionKind) + " " + text(row.reactionTargetRowID)
        + " " + text(row.replyToRowID) + " "
        + (row.photoCount ? std::to_string(*row.photoCount) : "-");
}

std::string errorOfMessages(const TestDatabase& database)
{
    return errorOf([&database] { MessagesDB(database.path()).messages(1, 0); });
}

std::string errorOfChats(const TestDatabase& database)
{
    return errorOf([&database] { MessagesDB(database.path()).chats(); });
}

} // namespace

/// Databases of older systems: a missing column or table leaves its fields absent.
class OldSchemasTest : public QObject {
    Q_OBJECT

private slots:
    void oldestSystemKnowsPlainMessagesOnly()
    {
        OneChat database(TestDatabase::Schema::Old);
        fill(database);
        for (const MessageRow& row : database.rows()) {
            QCOMPARE(row.recordKind, Kind());
            QCOMPARE(row.reactionKind, Kind());
            QCOMPARE(row.reactionTargetRowID, noRow);
            QCOMPARE(row.replyToRowID, noRow);
            QCOMPARE(row.text, "hello");
            QCOMPARE(row.senderID.value(), "messages:handle:+15550100");
        }
        QCOMPARE(database.rows(2).size(), std::size_t(2));
        QCOMPARE(MessagesDB(database.path()).chats().at(0).messageCount, 4);
    }

    void oldestSystemStillCountsPhotos()
    {
        OneChat database(TestDatabase::Schema::Old);
        fill(database);
        QCOMPARE(database.row(1).photoCount, std::optional(1));
        QCOMPARE(database.row(2).photoCount, std::optional(0));
    }

    void eachOptionalColumnMayBeMissing_data()
    {
        QTest::addColumn<QString>("column");
        QTest::addColumn<std::string>("reply");
        QTest::addColumn<std::string>("reaction");
        QTest::addColumn<std::string>("system");

        const auto row
            = [](const char* column, const char* reply, const char* reaction, const char* system) {
                  QTest::newRow(column) << QString::fromLatin1(column) << std::string(reply)
                                        << std::string(reaction) << std::string(system);
              };
        row("text_edited", "message - - 1 0", "reaction like 1 - 0",
            "system - - - 0"); // all present
        row("guid", "message - - - 0", "reaction like - - 0", "system - - - 0");
        row("thread_originator_guid", "message - - - 0", "reaction like 1 - 0", "system - - - 0");
        row("associated_message_guid", "message - - 1 0", "reaction like - - 0", "system - - - 0");
        row("associated_message_type", "- - - 1 0", "- - - - 0", "- - - - 0");
        row("item_type", "message - - 1 0", "reaction like 1 - 0", "message - - - 0");
    }

    void eachOptionalColumnMayBeMissing()
    {
        QFETCH(QString, column);
        QFETCH(std::string, reply);
        QFETCH(std::string, reaction);
        QFETCH(std::string, system);
        OneChat database;
        fill(database);
        database.sql().execute("ALTER TABLE message ADD COLUMN text_edited TEXT");
        database.sql().execute(
            "ALTER TABLE message RENAME COLUMN " + column.toStdString() + " TO gone");
        QCOMPARE(told(database.row(2)), reply);
        QCOMPARE(told(database.row(3)), reaction);
        QCOMPARE(told(database.row(4)), system);
        QCOMPARE(database.row(1).photoCount, std::optional(1));
    }

    void columnInAnotherCaseCountsAsMissing()
    {
        OneChat database;
        fill(database);
        database.sql().execute("ALTER TABLE message RENAME COLUMN associated_message_type"
                               " TO Associated_Message_Type");
        QCOMPARE(told(database.row(3)), "- - - - 0");
    }

    void photosAreUnknownWithoutTheirColumns_data()
    {
        QTest::addColumn<QString>("change");
        QTest::newRow("mime_type")
            << QStringLiteral("ALTER TABLE attachment DROP COLUMN mime_type");
        QTest::newRow("message_id") << QStringLiteral(
            "ALTER TABLE message_attachment_join RENAME COLUMN message_id TO gone");
        QTest::newRow("attachment_id") << QStringLiteral(
            "ALTER TABLE message_attachment_join RENAME COLUMN attachment_id TO gone");
        QTest::newRow("attachment") << QStringLiteral("DROP TABLE attachment");
        QTest::newRow("message_attachment_join")
            << QStringLiteral("DROP TABLE message_attachment_join");
    }

    void photosAreUnknownWithoutTheirColumns()
    {
        QFETCH(QString, change);
        OneChat database;
        fill(database);
        database.sql().execute(change.toStdString());
        QCOMPARE(told(database.row(1)), "message - - - -");
        QCOMPARE(database.row(1).attachmentCount, 1);
        QCOMPARE(told(database.row(2)), "message - - 1 -");
    }

    void missingNecessaryColumnIsAnError_data()
    {
        QTest::addColumn<QString>("column");
        for (const char* column :
            {"text", "attributedBody", "handle_id", "date", "is_from_me", "cache_has_attachments"})
            QTest::newRow(column) << QString::fromLatin1(column);
    }

    void missingNecessaryColumnIsAnError()
    {
        QFETCH(QString, column);
        OneChat database;
        fill(database);
        database.sql().execute("ALTER TABLE message DROP COLUMN " + column.toStdString());
        QCOMPARE(errorOfMessages(database), "no such column: m." + column.toStdString());
    }

    void missingTableIsAnError_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<bool>("forMessages");
        QTest::newRow("chat") << QStringLiteral("chat") << false;
        QTest::newRow("chat_handle_join") << QStringLiteral("chat_handle_join") << false;
        QTest::newRow("handle") << QStringLiteral("handle") << true;
        QTest::newRow("chat_message_join") << QStringLiteral("chat_message_join") << true;
    }

    void missingTableIsAnError()
    {
        QFETCH(QString, table);
        QFETCH(bool, forMessages);
        OneChat database;
        fill(database);
        database.sql().execute("DROP TABLE " + table.toStdString());
        const std::string error = "no such table: " + table.toStdString();
        QCOMPARE(errorOfChats(database), error);
        QCOMPARE(errorOfMessages(database), forMessages ? error : "(no error)");
    }

    void chatListNeedsNoAttachments()
    {
        OneChat database;
        fill(database);
        database.sql().execute("DROP TABLE attachment; DROP TABLE message_attachment_join");
        QCOMPARE(MessagesDB(database.path()).chats().size(), std::size_t(1));
    }

    void viewServesAsATable()
    {
        OneChat database;
        fill(database);
        database.sql().execute("ALTER TABLE attachment RENAME TO stored;"
                               "CREATE VIEW attachment AS SELECT ROWID, mime_type FROM stored");
        QCOMPARE(database.row(1).photoCount, std::optional(1));
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::OldSchemasTest)
#include "OldSchemasTest.moc"
