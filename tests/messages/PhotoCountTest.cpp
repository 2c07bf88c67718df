#include "messages/Rows.h"

namespace korvane {

namespace {

using Types = std::vector<std::optional<std::string>>;

} // namespace

/// The number of photos of a message, and when it is unknown.
class PhotoCountTest : public QObject {
    Q_OBJECT

private slots:
    void countsImages_data()
    {
        QTest::addColumn<Types>("types");
        QTest::addColumn<std::optional<int>>("count");

        const auto row = [](const char* name, const Types& types, std::optional<int> count) {
            QTest::newRow(name) << types << count;
        };
        constexpr std::nullopt_t unknown = std::nullopt;
        row("two photos and a film", {"image/jpeg", "image/jpeg", "video/mp4"}, 2);
        row("a film", {"video/mp4"}, 0);
        row("a photo", {"image/heic"}, 1);
        row("a photo in capitals", {"IMAGE/PNG"}, 1);
        row("an image of no kind", {"image/"}, 1);
        row("the word image alone", {"image"}, 0);
        row("an image further back", {"x-image/png"}, 0);
        row("an image behind a blank", {" image/png"}, 0);
        row("a type of no sense", {"?"}, 0);
        row("no type", {std::nullopt}, unknown);
        row("an empty type", {""}, unknown);
        row("a type of blanks", {"   "}, unknown);
        row("a type of a tab, which no trimming takes away", {"\t"}, 0);
        row("one attachment of several without a type", {"image/jpeg", std::nullopt}, unknown);
        row("one attachment of several with a blank type", {" ", "image/jpeg"}, unknown);
        row("claimed and none there", {}, unknown);
        row("ten photos", Types(10, "image/gif"), 10);
    }

    void countsImages()
    {
        QFETCH(Types, types);
        QFETCH(std::optional<int>, count);
        OneChat database;
        const std::int64_t message = database.addMessage(1, {.hasAttachments = true});
        for (const auto& type : types)
            database.addAttachment(message, type);
        const MessageRow row = database.row(message);
        QCOMPARE(row.photoCount, count);
        QCOMPARE(row.attachmentCount, 1);
    }

    void attachmentWhoseRowIsGoneIsUnknown()
    {
        OneChat database;
        const std::int64_t message = database.addMessage(1, {.hasAttachments = true});
        database.addAttachment(message, "image/jpeg");
        database.sql().execute("INSERT INTO message_attachment_join VALUES (1, 99)");
        QCOMPARE(database.row(message).photoCount, std::optional<int>());
        database.sql().execute("UPDATE message_attachment_join SET attachment_id = NULL"
                               " WHERE attachment_id = 99");
        QCOMPARE(database.row(message).photoCount, std::optional<int>());
    }

    void onlyAClaimOtherThanZeroMakesMissingRowsUnknown_data()
    {
        QTest::addColumn<QString>("claim");
        QTest::addColumn<std::optional<int>>("count");
        QTest::newRow("none") << QStringLiteral("0") << std::optional(0);
        QTest::newRow("NULL") << QStringLiteral("NULL") << std::optional(0);
        QTest::newRow("1") << QStringLiteral("1") << std::optional<int>();
        QTest::newRow("-1") << QStringLiteral("-1") << std::optional<int>();
        QTest::newRow("nothing in its lower 32 bits")
            << QStringLiteral("4294967296") << std::optional<int>();
    }

    void onlyAClaimOtherThanZeroMakesMissingRowsUnknown()
    {
        QFETCH(QString, claim);
        QFETCH(std::optional<int>, count);
        OneChat database;
        database.addMessage(1, "hello");
        database.sql().execute("UPDATE message SET cache_has_attachments = " + claim.toStdString());
        QCOMPARE(database.row(1).photoCount, count);
    }

    void joinedAttachmentsCountWithoutAClaim()
    {
        OneChat database;
        const std::int64_t message = database.addMessage(1, "hello");
        database.addAttachment(message, "image/jpeg");
        const MessageRow row = database.row(message);
        QCOMPARE(row.photoCount, std::optional(1));
        QCOMPARE(row.attachmentCount, 0);
    }

    void oneAttachmentJoinedTwiceCountsTwice()
    {
        OneChat database;
        const std::int64_t message = database.addMessage(1, {.hasAttachments = true});
        database.addAttachment(message, "image/jpeg");
        database.sql().execute("INSERT INTO message_attachment_join VALUES (1, 1)");
        QCOMPARE(database.row(message).photoCount, std::optional(2));
    }

    void attachmentsOfOtherMessagesDoNotCount()
    {
        OneChat database;
        const std::int64_t photo = database.addMessage(1, {.hasAttachments = true});
        const std::int64_t odd = database.addMessage(1, {.hasAttachments = true});
        const std::int64_t text = database.addMessage(1, "hello");
        database.addAttachment(photo, "image/jpeg");
        database.addAttachment(odd, std::nullopt);
        QCOMPARE(database.row(photo).photoCount, std::optional(1));
        QCOMPARE(database.row(odd).photoCount, std::optional<int>());
        QCOMPARE(database.row(text).photoCount, std::optional(0));
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::PhotoCountTest)
#include "PhotoCountTest.moc"
