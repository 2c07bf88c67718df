#include "reader/PageWriter.h"
#include "reader/Archive.h"
#include "reader/Conversation.h"
#include "reader/Deflate.h"
#include "reader/PackedChat.h"
#include "reader/PackedNumbers.h"
#include "reader/Records.h"
#include "storage/Files.h"
#include "support/Printing.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <zlib.h>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

std::string inflated(std::string_view compressed, std::size_t size)
{
    std::string bytes(size + 1, '\0');
    z_stream stream{};
    ::inflateInit2(&stream, -15);
    std::string input(compressed);
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = static_cast<uInt>(bytes.size());
    const int outcome = ::inflate(&stream, Z_FINISH);
    bytes.resize(bytes.size() - stream.avail_out);
    ::inflateEnd(&stream);
    return outcome == Z_STREAM_END ? bytes : "";
}

/// Reads numbers back one after the other.
class Numbers {
public:
    explicit Numbers(std::string bytes) : m_bytes(std::move(bytes)) { }

    std::int64_t next()
    {
        std::uint64_t value = 0;
        for (int shift = 0;; shift += 7) {
            const auto byte = static_cast<unsigned char>(m_bytes.at(m_at++));
            value |= std::uint64_t{byte & 0x7FU} << shift;
            if (byte < 0x80)
                return static_cast<std::int64_t>(value);
        }
    }

    std::int64_t nextSigned()
    {
        const std::int64_t value = next();
        return value % 2 == 0 ? value / 2 : -(value + 1) / 2;
    }

    std::vector<std::int64_t> column(std::size_t count)
    {
        std::vector<std::int64_t> values;
        for (std::size_t i = 0; i < count; ++i)
            values.push_back(next());
        return values;
    }

    std::vector<std::int64_t> differences(std::size_t count)
    {
        std::vector<std::int64_t> values;
        std::int64_t value = 0;
        for (std::size_t i = 0; i < count; ++i)
            values.push_back(value += nextSigned());
        return values;
    }

    bool atEnd() const { return m_at == m_bytes.size(); }

private:
    std::string m_bytes;
    std::size_t m_at = 0;
};

using Column = std::vector<std::int64_t>;

} // namespace

/// How chats are packed into a page, and the file.
class PageWriterTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void bytesAreCompressedAndWhole_data()
    {
        QTest::addColumn<std::string>("bytes");
        QTest::newRow("nothing") << std::string();
        QTest::newRow("a word") << std::string("hello");
        QTest::newRow("a megabyte") << std::string(1'000'000, 'x');
        std::string noise;
        for (unsigned i = 0, state = 1; i < 300'000; ++i, state = state * 1664525 + 1013904223)
            noise += static_cast<char>(state >> 24);
        QTest::newRow("what cannot be compressed") << noise;
    }

    void bytesAreCompressedAndWhole()
    {
        QFETCH(const std::string, bytes);
        Deflate deflate;
        deflate.compress("something before it");
        QVERIFY(inflated(deflate.compress(bytes), bytes.size()) == bytes);
    }

    void numbersOfAnySizeAreKept()
    {
        std::string bytes;
        const Column values{0, 1, 127, 128, 16'383, 16'384, (std::int64_t{1} << 53) - 1};
        for (const std::int64_t value : values)
            PackedNumbers::append(bytes, static_cast<std::uint64_t>(value));
        QCOMPARE(Numbers(bytes).column(values.size()), values);
        QCOMPARE(PackedNumbers::zigzag(0), 0U);
        QCOMPARE(PackedNumbers::zigzag(-1), 1U);
        QCOMPARE(PackedNumbers::zigzag(1), 2U);
        QCOMPARE(PackedNumbers::zigzag(-62'135'596'800'000), 124'271'193'599'999U);
    }

    void columnsHoldTheRecords()
    {
        Record photos = fromMe(message(5, ""));
        photos.attachmentCount = 1;
        photos.photoCount = 2;
        Record unknown = message(6, "");
        unknown.attachmentCount = 1;
        const PackedChat chat = packed({message(3), systemLine(4), photos, unknown, reply(7, 3),
            reply(8, 99), fromSender(reaction(9, 3), "Bo", "+2"), reaction(10, 3, "like"),
            removal(11, 3, "like"), reaction(12, 99, "laugh")});
        QCOMPARE(chat.entries, 7U);
        QCOMPARE(chat.messages, 5U);
        Numbers facts(chat.facts);
        const std::int64_t start = chat.first - 3000;
        QCOMPARE(facts.differences(7),
            (Column{start + 3000, start + 4000, start + 5000, start + 6000, start + 7000,
                start + 8000, start + 12'000}));
        QCOMPARE(facts.differences(7), (Column{3, 4, 5, 6, 7, 8, 12}));
        QCOMPARE(facts.column(7), (Column{0, 0, 1, 0, 0, 0, 0}));
        QCOMPARE(facts.column(7), (Column{0, 1, 8, 0, 0, 0, 2}));
        QCOMPARE(facts.column(7), (Column{0, 0, 3, 1, 0, 0, 0}));
        QCOMPARE(facts.column(7), (Column{0, 0, 0, 0, 2 + 7, 1, 0}));
        QCOMPARE(facts.next(), 1); // the one reaction that stands
        QCOMPARE(facts.differences(1), (Column{0}));
        QCOMPARE(facts.column(1), (Column{2}));
        QCOMPARE(facts.column(1), (Column{0}));
        QVERIFY(facts.atEnd());
    }

    void reactionToAMessageThatIsNotChosenIsAnEntry()
    {
        PagePeople people;
        const Conversation conversation = read({message(1), reaction(2, 1)});
        const PackedChat chat = PackedChat::of(conversation, {1}, people);
        QCOMPARE(chat.entries, 1U);
        QCOMPARE(chat.messages, 0U);
    }

    void entryWithoutADateHasTheTimeBeforeIt()
    {
        Record undated = message(2);
        undated.date = "yesterday";
        const PackedChat chat = packed({message(1), undated});
        Numbers facts(chat.facts);
        const Column times = facts.differences(2);
        QCOMPARE(times, (Column{chat.first, chat.first}));
        QCOMPARE(chat.last, chat.first);
        facts.differences(2);
        facts.column(2);
        QCOMPARE(facts.column(2), (Column{0, 4}));
    }

    void textsOfABlockAreSeparatedByNul()
    {
        const PackedChat chat = packed({message(1, "aä"), message(2, ""), message(3, "👍!")});
        QCOMPARE(chat.blocks.size(), 1U);
        QCOMPARE(chat.blocks[0].bytes, std::string("aä") + '\0' + '\0' + "👍!");
    }

    void emptyTextsCountInABlock()
    {
        const PackedChat chat = packed({message(1, ""), message(2, ""), message(3, "a")});
        QCOMPARE(chat.blocks[0].bytes, std::string("\0\0a", 3));
    }

    void nulInATextIsASpace()
    {
        const PackedChat chat = packed({message(1, std::string("a\0b", 3)), message(2, "c")});
        QCOMPARE(chat.blocks[0].bytes, std::string("a b\0c", 5));
    }

    void blocksAreSmall()
    {
        std::vector<Record> records;
        for (std::int64_t row = 1; row <= 3; ++row)
            records.push_back(message(row, std::string(300'000, 'x')));
        QCOMPARE(packed(records).blocks.size(), 3U);
    }

    void latestNameOfAPersonWins()
    {
        PagePeople people;
        QCOMPARE(people.numberOf(message(1)), 0U);
        QCOMPARE(people.numberOf(fromSender(message(2), "Ann Lee", "+1202")), 0U);
        QCOMPARE(people.numberOf(fromMe(message(3))), 1U);
        QCOMPARE(people.all(), (std::vector<PagePeople::Person>{{"Ann Lee", false}, {"Me", true}}));
    }

    void titlesCannotEndTheirElement()
    {
        Record record = message(1);
        record.conversationName = "</script><!--<script>";
        const std::string page = pageOf({record});
        QVERIFY(page.find(record.conversationName) == std::string::npos);
        QVERIFY(
            page.find(R"("title":"\u003c/script>\u003c!--\u003cscript>")") != std::string::npos);
    }

    void policyHasTheHashesOfScriptAndStyle()
    {
        const auto page = QString::fromStdString(pageOf({message(1)}));
        const auto contents = [&](const char* element) {
            const QRegularExpression pattern(
                QString::fromLatin1(element), QRegularExpression::DotMatchesEverythingOption);
            return pattern.match(page).captured(1).toUtf8();
        };
        const auto source = [](const QByteArray& text) {
            const auto hash = QCryptographicHash::hash(text, QCryptographicHash::Sha256);
            return QStringLiteral("'sha256-%1'").arg(QString::fromLatin1(hash.toBase64()));
        };
        const QString policy = page.section(QStringLiteral("content=\""), 2, 2).section(u'"', 0, 0);
        const QByteArray script = contents("<script type=\"module\">(.*?)</script>");
        const QByteArray style = contents("<style>(.*?)</style>");
        QVERIFY(script.size() > 10'000 && style.size() > 5'000);
        QCOMPARE(policy,
            QStringLiteral("default-src 'none'; script-src %1; style-src %2; base-uri 'none'; "
                           "form-action 'none'")
                .arg(source(script), source(style)));
    }

    void pageThatIsNotFinishedLeavesNothing()
    {
        const Conversation conversation = read({message(1)});
        {
            PageWriter page(path() / "page.html", Files::Existing::Keep);
            page.write(conversation, {0});
            QVERIFY(!fs::exists(path() / "page.html"));
        }
        QVERIFY(fs::is_empty(path()) || !fs::exists(path() / "page.html"));
        QCOMPARE(std::distance(fs::directory_iterator(path()), {}), 1); // the export file
    }

    void chatOfWhichNothingIsChosenIsLeftOut()
    {
        const Conversation conversation = read({message(1)});
        PageWriter page(path() / "page.html", Files::Existing::Keep);
        page.write(conversation, {});
        page.finish();
        const auto written = Files::read(path() / "page.html").value_or("");
        QVERIFY(written.find(R"({"people":[],"chats":[]})") != std::string::npos);
    }

private:
    fs::path path() const { return m_folder->path().toStdString(); }

    Conversation read(const std::vector<Record>& records) const
    {
        const fs::path file = path() / "Team (1) Korvane Wrapped.jsonl.txt";
        writeBytes(file, linesOf(records));
        return Conversation(Archive::ofFiles({file}).chats.at(0));
    }

    PackedChat packed(const std::vector<Record>& records) const
    {
        PagePeople people;
        const Conversation conversation = read(records);
        return PackedChat::of(conversation, chosenMessages(conversation, {}), people);
    }

    std::string pageOf(const std::vector<Record>& records) const
    {
        const Conversation conversation = read(records);
        PageWriter page(path() / "page.html", Files::Existing::Keep);
        page.write(conversation, chosenMessages(conversation, {}));
        page.finish();
        return Files::read(path() / "page.html").value_or("");
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(PageWriterTest)
#include "PageWriterTest.moc"
