#include "reader/RecordText.h"
#include "reader/Records.h"
#include "support/Printing.h"

using namespace korvane;

namespace {

Record withAttachments(
    std::int64_t attachments, std::optional<std::int64_t> photos, const std::string& body = "")
{
    Record record = message(1, body);
    record.attachmentCount = attachments;
    record.photoCount = photos;
    return record;
}

} // namespace

/// What the text form says of a record.
class RecordTextTest : public QObject {
    Q_OBJECT

private slots:
    void attachmentsAreNamedByTheirCount_data()
    {
        QTest::addColumn<Record>("record");
        QTest::addColumn<std::string>("expected");
        QTest::newRow("none") << withAttachments(0, 0) << std::string();
        QTest::newRow("one photo") << withAttachments(1, 1) << std::string("[photo]");
        QTest::newRow("photos") << withAttachments(1, 12) << std::string("[12 photos]");
        QTest::newRow("something else") << withAttachments(1, 0) << std::string("[attachment]");
        QTest::newRow("unknown") << withAttachments(1, std::nullopt) << std::string("[attachment]");
        QTest::newRow("a nonsensical count")
            << withAttachments(1, -3) << std::string("[attachment]");
    }

    void attachmentsAreNamedByTheirCount()
    {
        QFETCH(Record, record);
        QFETCH(std::string, expected);
        QCOMPARE(RecordText::attachments(record), expected);
    }

    void bodyLosesWhiteSpaceAtItsEnds()
    {
        QCOMPARE(RecordText::body(message(1, "\n\t a\n\nb \r\n")), std::string("a\n\nb"));
        QCOMPARE(RecordText::body(message(1, " \n")), std::string("[no text]"));
        QCOMPARE(RecordText::body(withAttachments(1, 1)), std::string());
    }

    void firstWordsAreOneLine()
    {
        QCOMPARE(RecordText::firstWords(message(1, "a\n\nb\u202Ec")), std::string("a  bc"));
        QCOMPARE(RecordText::firstWords(withAttachments(1, 2)), std::string("[2 photos]"));
        QVERIFY(RecordText::firstWords(message(1, std::string(1'000'000, 'x'))).size() < 1000);
    }

    void reactionsAreGroupedByKind()
    {
        QCOMPARE(RecordText::ofReactions({reaction(1, 9), reaction(2, 9, "laugh"),
                     fromMe(reaction(3, 9)), reaction(4, 9, "unheard of")}),
            std::string("♥ Ann, Me  😂 Ann  ★ Ann"));
        QCOMPARE(RecordText::ofReactions({}), std::string());
    }

    void reactionAloneSaysWhatItBelongsTo()
    {
        QCOMPARE(RecordText::ofReaction(reaction(1, 2), "Bo: hi"), std::string("♥ to Bo: hi"));
        QCOMPARE(
            RecordText::ofReaction(removal(1, 2), "Bo: hi"), std::string("♥ removed from Bo: hi"));
        QCOMPARE(RecordText::ofReaction(reaction(1, 2), ""), std::string("Loved “hello”"));
        Record silent = reaction(1, 2);
        silent.body.clear();
        QCOMPARE(
            RecordText::ofReaction(silent, ""), std::string("♥ to a message that is not here"));
    }
};

QTEST_GUILESS_MAIN(RecordTextTest)
#include "RecordTextTest.moc"
