#include "sample/MessageContent.h"
#include "sample/TemporarySample.h"
#include "support/Printing.h"

#include <QtTest/QTest>

#include <memory>
#include <optional>

namespace korvane {

namespace {

constexpr SampleSize testSize{.messages = 30'000, .chats = 120, .seed = 7};

/// Decodes an attributed body independently of the code under test: the text follows the first
/// "NSString" and five more bytes, preceded by its length.
std::optional<std::string> decodedText(std::string_view archive)
{
    const std::size_t found = archive.find("NSString");
    if (found == archive.npos)
        return std::nullopt;
    archive.remove_prefix(found + 8 + 5);
    const auto byteAt = [&](std::size_t index) {
        return static_cast<std::size_t>(static_cast<unsigned char>(archive.at(index)));
    };
    const bool isLong = byteAt(0) == 0x81;
    const std::size_t length = isLong ? byteAt(1) + 256 * byteAt(2) : byteAt(0);
    archive.remove_prefix(isLong ? 3 : 1);
    if (length > archive.size())
        return std::nullopt;
    return std::string(archive.substr(0, length));
}

bool isUtf8(const std::string& text)
{
    return QString::fromStdString(text).toStdString() == text
        && text.find("\xEF\xBF\xBD") == text.npos;
}

/// SQL for the guid in associated_message_guid, without the prefix.
constexpr const char* targetOfReaction
    = "CASE WHEN associated_message_guid LIKE 'p:%'"
      " THEN substr(associated_message_guid, instr(associated_message_guid, '/') + 1)"
      " WHEN associated_message_guid LIKE 'bp:%' THEN substr(associated_message_guid, 4)"
      " ELSE associated_message_guid END";

} // namespace

/// The messages of a sample database: order, dates, texts and references.
class SampleMessagesTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { m_sample = std::make_unique<TemporarySample>(testSize); }

    void messagesOfAllChatsAreInterleavedByDate()
    {
        const std::int64_t late = m_sample->number(
            "SELECT COUNT(*) FROM message m JOIN message e ON e.ROWID = m.ROWID - 1"
            " WHERE m.date < e.date");
        QVERIFY2(late > testSize.messages / 200 && late < testSize.messages / 50,
            qPrintable(QString::number(late)));
        const std::int64_t changes
            = m_sample->number("SELECT COUNT(*) FROM chat_message_join m"
                               " JOIN chat_message_join e ON e.message_id = m.message_id - 1 AND "
                               "e.chat_id <> m.chat_id");
        QVERIFY(changes > testSize.messages / 20);
    }

    void firstMessagesHaveDatesInSeconds()
    {
        const std::int64_t seconds
            = m_sample->number("SELECT COUNT(*) FROM message WHERE date < 1e11");
        QVERIFY(seconds > 0 && seconds < testSize.messages / 100);
        QCOMPARE(m_sample->number("SELECT MAX(ROWID) FROM message WHERE date < 1e11"), seconds);
        const std::int64_t november2026 = 815'184'000;
        QVERIFY(m_sample->number("SELECT MAX(date) FROM message") / 1'000'000'000 < november2026);
    }

    void attributedBodiesCanBeDecoded()
    {
        Sqlite::Statement bodies = m_sample->query(
            "SELECT attributedBody, cache_has_attachments, associated_message_type FROM message"
            " WHERE attributedBody IS NOT NULL");
        int longTexts = 0;
        while (bodies.step()) {
            const std::optional<std::string> text = decodedText(*bodies.blob(0));
            QVERIFY(text && !text->empty() && isUtf8(*text));
            const bool hasAttachmentMark = text->find("\xEF\xBF\xBC") != text->npos;
            QCOMPARE(hasAttachmentMark, bodies.integer(1) != 0);
            longTexts += text->size() > 127 ? 1 : 0;
        }
        QVERIFY(longTexts > testSize.messages / 50);
    }

    void attributedBodyStatesTheLengthOfItsText_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<std::string>("prefix");
        using namespace std::string_literals;
        QTest::newRow("empty") << ""s
                               << "\x00"s;
        QTest::newRow("one byte") << "a"s
                                  << "\x01"s;
        QTest::newRow("longest with a one-byte length") << std::string(127, 'a') << "\x7F"s;
        QTest::newRow("shortest with a two-byte length")
            << std::string(128, 'a') << "\x81\x80\x00"s;
        QTest::newRow("300 bytes") << std::string(300, 'a') << "\x81\x2C\x01"s;
        QTest::newRow("longest of all") << std::string(65535, 'a') << "\x81\xFF\xFF"s;
        QTest::newRow("length in bytes, not characters") << "日本"s
                                                         << "\x06"s;
    }

    void attributedBodyStatesTheLengthOfItsText()
    {
        QFETCH(std::string, text);
        QFETCH(std::string, prefix);
        const std::string archive = sample::encodeAttributedBody(text);
        const std::size_t start = archive.find("NSString") + 8 + 5;
        QCOMPARE(archive.substr(start, prefix.size() + text.size()), prefix + text);
        QCOMPARE(decodedText(archive), std::optional(text));
    }

    void referencesPointToEarlierMessagesOfTheSameChat_data()
    {
        QTest::addColumn<std::string>("references");
        QTest::newRow("reactions") << std::string("SELECT ROWID, ") + targetOfReaction
                + " AS target FROM message WHERE associated_message_type <> 0";
        QTest::newRow("replies") << std::string("SELECT ROWID, thread_originator_guid AS target"
                                                " FROM message WHERE thread_originator_guid <> ''");
    }

    void referencesPointToEarlierMessagesOfTheSameChat()
    {
        QFETCH(std::string, references);
        const std::string join = " FROM (" + references + ") r JOIN message t ON t.guid = r.target";
        const std::int64_t all = m_sample->number("SELECT COUNT(*) FROM (" + references + ")");
        const std::int64_t resolved = m_sample->number("SELECT COUNT(*)" + join);
        QVERIFY(resolved < all);
        QVERIFY(resolved > all * 95 / 100);
        QCOMPARE(m_sample->number("SELECT COUNT(*)" + join + " WHERE t.ROWID >= r.ROWID"),
            std::int64_t{0});
        QCOMPARE(m_sample->number("SELECT COUNT(*)" + join
                     + " WHERE EXISTS (SELECT 1 FROM chat_message_join WHERE message_id = r.ROWID)"
                       " AND NOT EXISTS (SELECT 1 FROM chat_message_join a JOIN chat_message_join b"
                       " ON b.chat_id = a.chat_id WHERE a.message_id = r.ROWID"
                       " AND b.message_id = t.ROWID)"),
            std::int64_t{0});
    }

private:
    std::unique_ptr<TemporarySample> m_sample;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::SampleMessagesTest)
#include "SampleMessagesTest.moc"
