#include "reader/Archive.h"
#include "reader/Conversation.h"
#include "reader/JsonWriter.h"
#include "reader/Records.h"
#include "support/Printing.h"

#include <QProcess>
#include <QStandardPaths>

#include <algorithm>
#include <random>
#include <sstream>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

/// What `read --json` prints for all chats of a folder.
std::string jsonOf(const fs::path& folder)
{
    std::ostringstream out;
    JsonWriter writer(out);
    for (const ArchivedChat& chat : Archive::inFolder(folder).chats) {
        const Conversation conversation(chat);
        writer.write(conversation, chosenMessages(conversation, {}));
    }
    return out.str();
}

std::string jsonOfSecondReader(const fs::path& folder)
{
    QProcess python;
    python.start(QStringLiteral("python3"),
        {QStringLiteral(SECOND_READER), QString::fromStdString(folder.string())});
    if (!python.waitForFinished(60'000) || python.exitCode() != 0)
        return "The second reader failed: " + python.readAllStandardError().toStdString();
    return python.readAllStandardOutput().toStdString();
}

/// Makes export files, and damages them as crashes, disks and editors do.
class Damage {
public:
    explicit Damage(unsigned seed) : m_random(seed) { }

    /// Records of the rows from `first` on, in an order with repetitions and late ones.
    std::string records(std::int64_t first, int count)
    {
        std::vector<Record> records;
        for (int i = 0; i < count; ++i)
            records.push_back(someRecord(first + below(count)));
        return linesOf(records);
    }

    std::string damaged(std::string text)
    {
        for (int i = below(5); i > 0 && !text.empty(); --i)
            damageOnce(text);
        return text;
    }

    int below(int limit) { return std::uniform_int_distribution(0, limit - 1)(m_random); }

private:
    Record someRecord(std::int64_t row)
    {
        const std::string bodies[] = {"hello", "", "two\nlines", "\"quoted\" \\ / \x01",
            "日本 👩‍👩‍👧", "{\"attachmentCount\":1,", std::string(3000, 'x')};
        Record record = message(row, bodies[below(std::size(bodies))]);
        if (below(3) == 0)
            record = fromMe(record);
        if (below(4) == 0)
            record.date = message(row + below(3)).date; // another message with this id
        if (below(4) == 0)
            record.replyToID = "mac:c:" + std::to_string(below(20));
        if (below(4) == 0)
            record.photoCount = below(3);
        if (below(5) == 0)
            record = reaction(row, below(20));
        if (below(9) == 0)
            record.senderID.reset();
        if (below(3) == 0) // as in another database
            record.id = "mac:c:" + std::to_string(row + std::int64_t{100} * below(3));
        return record;
    }

    void damageOnce(std::string& text)
    {
        const std::size_t at = static_cast<std::size_t>(below(static_cast<int>(text.size())));
        const std::size_t length = static_cast<std::size_t>(below(300));
        switch (below(7)) {
        case 0: // torn at its end
            text.resize(at);
            break;
        case 1: // a torn piece in the middle
            text.erase(at, length);
            break;
        case 2: // one byte
            text[at] = static_cast<char>(below(256));
            break;
        case 3: // written again
            text.insert(at, text.substr(at / 2, length * 3));
            break;
        case 4: // zeros after a power cut
            text.replace(at, std::min(length, text.size() - at), length, '\0');
            break;
        case 5: // two lines in one
            if (const std::size_t end = text.find('\n', at); end != text.npos)
                text.erase(end, 1);
            break;
        default: // the line ends of another system
            if (const std::size_t end = text.find('\n', at); end != text.npos)
                text.insert(end, 1, '\r');
        }
    }

    std::mt19937 m_random;
};

QStringList lines(const std::string& text)
{
    return QString::fromStdString(text).split(u'\n');
}

} // namespace

/// Compares the records that are read from a folder with those of a second reader: a script in
/// another language, written from docs/export-format.md alone.
class SecondReaderTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("python3")).isEmpty())
            QSKIP("python3 is not installed.");
    }

    void bothReadTheSame_data()
    {
        QTest::addColumn<int>("seed");
        QTest::addColumn<bool>("damaged");
        const int seeds = qEnvironmentVariableIntValue("KORVANE_READER_SEEDS");
        for (int seed = 1; seed <= std::max(seeds, 5); ++seed)
            QTest::addRow("intact, seed %d", seed) << seed << false;
        for (int seed = 1; seed <= std::max(seeds, 60); ++seed)
            QTest::addRow("damaged, seed %d", seed) << seed << true;
    }

    void bothReadTheSame()
    {
        QFETCH(int, seed);
        QFETCH(bool, damaged);
        const QTemporaryDir temporary;
        const fs::path folder = temporary.path().toStdString();
        Damage damage(static_cast<unsigned>(seed));
        const auto write = [&](const std::string& name, const std::string& text) {
            writeBytes(folder / name, damaged ? damage.damaged(text) : text);
        };
        write("Team (1) Korvane Wrapped.jsonl.txt", damage.records(1, 20));
        for (int i = damage.below(4); i > 0; --i)
            write("Kept/Team (1) " + std::to_string(i) + ".jsonl.txt", damage.records(1, 15));
        const std::string read = jsonOf(folder);
        QVERIFY(damaged || !read.empty());
        QCOMPARE(lines(read), lines(jsonOfSecondReader(folder)));
    }
};

QTEST_GUILESS_MAIN(SecondReaderTest)
#include "SecondReaderTest.moc"
