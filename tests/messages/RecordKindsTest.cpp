#include "messages/Rows.h"

namespace korvane {

/// The kind of a row: a message, a reaction, the removal of a reaction, or a system row.
class RecordKindsTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_database = std::make_unique<OneChat>(); }

    void tellsReactionsByTheirNumber_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<Kind>("recordKind");
        QTest::addColumn<Kind>("reactionKind");

        const auto row
            = [](const char* type, const Kind& recordKind, const Kind& reactionKind = {}) {
                  QTest::newRow(type) << QString::fromLatin1(type) << recordKind << reactionKind;
              };
        row("NULL", "message");
        row("0", "message");
        row("-2000", "message");
        row("3", "message");
        row("1000", "message");
        row("1999", "message");
        row("2000", "reaction", "love");
        row("2001", "reaction", "like");
        row("2002", "reaction", "dislike");
        row("2003", "reaction", "laugh");
        row("2004", "reaction", "emphasize");
        row("2005", "reaction", "question");
        row("2006", "reaction");
        row("2007", "reaction");
        row("2999", "reaction");
        row("3000", "reaction-removal", "love");
        row("3001", "reaction-removal", "like");
        row("3002", "reaction-removal", "dislike");
        row("3003", "reaction-removal", "laugh");
        row("3004", "reaction-removal", "emphasize");
        row("3005", "reaction-removal", "question");
        row("3006", "reaction-removal");
        row("3999", "reaction-removal");
        row("4000", "message");
        row("12001", "message");
        row("4294969296 + 1", "reaction", "like"); // the lower 32 bits are 2001
        row("9223372036854775807", "message");
    }

    void tellsReactionsByTheirNumber()
    {
        QFETCH(QString, type);
        QFETCH(Kind, recordKind);
        QFETCH(Kind, reactionKind);
        m_database->addMessage(1, "hello");
        m_database->sql().execute(
            "UPDATE message SET associated_message_type = " + type.toStdString());

        const MessageRow row = m_database->row(1);
        QCOMPARE(row.recordKind, recordKind);
        QCOMPARE(row.reactionKind, reactionKind);
    }

    void tellsSystemRowsByTheirItemType_data()
    {
        QTest::addColumn<QString>("associatedType");
        QTest::addColumn<QString>("itemType");
        QTest::addColumn<Kind>("recordKind");

        const auto row = [](const char* name, const char* associatedType, const char* itemType,
                             std::string_view recordKind) {
            QTest::newRow(name) << QString::fromLatin1(associatedType)
                                << QString::fromLatin1(itemType) << Kind(recordKind);
        };
        row("item type 0", "0", "0", "message");
        row("item type NULL", "0", "NULL", "message");
        row("item type 1, both NULL else", "NULL", "1", "system");
        row("item type 2", "0", "2", "system");
        row("item type -1", "0", "-1", "system");
        row("0 in its lower 32 bits", "0", "4294967296", "message");
        row("a reaction with an item type", "2001", "1", "reaction");
        row("a sticker with an item type", "1000", "1", "system");
        row("past the removals with an item type", "4000", "1", "system");
    }

    void tellsSystemRowsByTheirItemType()
    {
        QFETCH(QString, associatedType);
        QFETCH(QString, itemType);
        QFETCH(Kind, recordKind);
        m_database->addMessage(1, "hello");
        m_database->sql().execute("UPDATE message SET associated_message_type = "
            + associatedType.toStdString() + ", item_type = " + itemType.toStdString());
        QCOMPARE(m_database->row(1).recordKind, recordKind);
    }

    void onlyReactionsHaveTargetsAndOnlyTheOthersReplies()
    {
        const std::int64_t first = m_database->addMessage(1, {.guid = "A"});
        const auto withBoth = [this](std::int64_t associatedType, std::int64_t itemType) {
            return m_database->rowOf({.associatedType = associatedType,
                .associatedGuid = "p:0/A",
                .threadGuid = "A",
                .itemType = itemType});
        };
        const MessageRow reaction = withBoth(2000, 0);
        QCOMPARE(reaction.reactionTargetRowID, RowID(first));
        QCOMPARE(reaction.replyToRowID, noRow);
        const MessageRow removal = withBoth(3006, 0);
        QCOMPARE(removal.reactionTargetRowID, RowID(first));
        QCOMPARE(removal.replyToRowID, noRow);
        const MessageRow message = withBoth(0, 0);
        QCOMPARE(message.reactionTargetRowID, noRow);
        QCOMPARE(message.replyToRowID, RowID(first));
        const MessageRow system = withBoth(0, 5);
        QCOMPARE(system.reactionTargetRowID, noRow);
        QCOMPARE(system.replyToRowID, RowID(first));
    }

private:
    std::unique_ptr<OneChat> m_database;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::RecordKindsTest)
#include "RecordKindsTest.moc"
