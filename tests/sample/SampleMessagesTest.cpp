#include "sample/MessageText.h"
#include "sample/SampleFile.h"
#include "support/Printing.h"

#include <QtTest/QTest>

#include <memory>
#include <optional>

namespace korvane {

namespace {

constexpr SampleSize usualSize{.messages = 30'000, .chats = 120, .seed = 7};

/// The text of an archive by the rule that every reader of these databases goes by.
std::optional<std::string> textIn(std::string_view archive)
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

/// The guid that a reaction names, without its prefix.
constexpr const char* targetOfReaction
    = "CASE WHEN associated_message_guid LIKE 'p:%'"
      " THEN substr(associated_message_guid, instr(associated_message_guid, '/') + 1)"
      " WHEN associated_message_guid LIKE 'bp:%' THEN substr(associated_message_guid, 4)"
      " ELSE associated_message_guid END";

} // namespace

/// What the messages of a sample database say, when, and which others they refer to.
class SampleMessagesTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void writesTheMessagesOfAllChatsInTheOrderOfTime();
    void datesTheFirstMessagesInSeconds();
    void writesBodiesThatReadersDecode();
    void prefixesATextWithItsLength_data();
    void prefixesATextWithItsLength();
    void refersToEarlierMessagesOfTheSameChat_data();
    void refersToEarlierMessagesOfTheSameChat();

private:
    std::unique_ptr<SampleFile> m_sample;
};

void SampleMessagesTest::initTestCase()
{
    m_sample = std::make_unique<SampleFile>(usualSize);
}

void SampleMessagesTest::writesTheMessagesOfAllChatsInTheOrderOfTime()
{
    const std::int64_t late
        = m_sample->number("SELECT COUNT(*) FROM message m JOIN message e ON e.ROWID = m.ROWID - 1"
                           " WHERE m.date < e.date");
    QVERIFY2(late > usualSize.messages / 200 && late < usualSize.messages / 50,
        qPrintable(QString::number(late)));
    const std::int64_t changes = m_sample->number(
        "SELECT COUNT(*) FROM chat_message_join m"
        " JOIN chat_message_join e ON e.message_id = m.message_id - 1 AND e.chat_id <> m.chat_id");
    QVERIFY(changes > usualSize.messages / 20);
}

void SampleMessagesTest::datesTheFirstMessagesInSeconds()
{
    const std::int64_t seconds = m_sample->number("SELECT COUNT(*) FROM message WHERE date < 1e11");
    QVERIFY(seconds > 0 && seconds < usualSize.messages / 100);
    QCOMPARE(m_sample->number("SELECT MAX(ROWID) FROM message WHERE date < 1e11"), seconds);
    const std::int64_t november2026 = 815'184'000;
    QVERIFY(m_sample->number("SELECT MAX(date) FROM message") / 1'000'000'000 < november2026);
}

void SampleMessagesTest::writesBodiesThatReadersDecode()
{
    Sqlite::Statement bodies = m_sample->query(
        "SELECT attributedBody, cache_has_attachments, associated_message_type FROM message"
        " WHERE attributedBody IS NOT NULL");
    int longTexts = 0;
    while (bodies.step()) {
        const std::optional<std::string> text = textIn(*bodies.blob(0));
        QVERIFY(text && !text->empty() && isUtf8(*text));
        const bool mentionsFiles = text->find("\xEF\xBF\xBC") != text->npos;
        QCOMPARE(mentionsFiles, bodies.integer(1) != 0);
        longTexts += text->size() > 127 ? 1 : 0;
    }
    QVERIFY(longTexts > usualSize.messages / 50);
}

void SampleMessagesTest::prefixesATextWithItsLength_data()
{
    QTest::addColumn<std::string>("text");
    QTest::addColumn<std::string>("prefix");
    using namespace std::string_literals;
    QTest::newRow("empty") << ""s
                           << "\x00"s;
    QTest::newRow("one byte") << "a"s
                              << "\x01"s;
    QTest::newRow("the longest of one byte") << std::string(127, 'a') << "\x7F"s;
    QTest::newRow("the shortest of two bytes") << std::string(128, 'a') << "\x81\x80\x00"s;
    QTest::newRow("300 bytes") << std::string(300, 'a') << "\x81\x2C\x01"s;
    QTest::newRow("the longest") << std::string(65535, 'a') << "\x81\xFF\xFF"s;
    QTest::newRow("bytes, not characters") << "日本"s
                                           << "\x06"s;
}

void SampleMessagesTest::prefixesATextWithItsLength()
{
    QFETCH(std::string, text);
    QFETCH(std::string, prefix);
    const std::string archive = sample::encodeAttributedBody(text);
    const std::size_t start = archive.find("NSString") + 8 + 5;
    QCOMPARE(archive.substr(start, prefix.size() + text.size()), prefix + text);
    QCOMPARE(textIn(archive), std::optional(text));
}

void SampleMessagesTest::refersToEarlierMessagesOfTheSameChat_data()
{
    QTest::addColumn<std::string>("references");
    QTest::newRow("reactions") << std::string("SELECT ROWID, ") + targetOfReaction
            + " AS target FROM message WHERE associated_message_type <> 0";
    QTest::newRow("replies") << std::string("SELECT ROWID, thread_originator_guid AS target"
                                            " FROM message WHERE thread_originator_guid <> ''");
}

void SampleMessagesTest::refersToEarlierMessagesOfTheSameChat()
{
    QFETCH(std::string, references);
    const std::string reached = " FROM (" + references + ") r JOIN message t ON t.guid = r.target";
    const std::int64_t all = m_sample->number("SELECT COUNT(*) FROM (" + references + ")");
    const std::int64_t resolved = m_sample->number("SELECT COUNT(*)" + reached);
    QVERIFY(resolved < all);
    QVERIFY(resolved > all * 95 / 100);
    QCOMPARE(m_sample->number("SELECT COUNT(*)" + reached + " WHERE t.ROWID >= r.ROWID"),
        std::int64_t{0});
    QCOMPARE(m_sample->number("SELECT COUNT(*)" + reached
                 + " WHERE EXISTS (SELECT 1 FROM chat_message_join WHERE message_id = r.ROWID)"
                   " AND NOT EXISTS (SELECT 1 FROM chat_message_join a JOIN chat_message_join b"
                   " ON b.chat_id = a.chat_id WHERE a.message_id = r.ROWID"
                   " AND b.message_id = t.ROWID)"),
        std::int64_t{0});
}

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::SampleMessagesTest)
#include "SampleMessagesTest.moc"
