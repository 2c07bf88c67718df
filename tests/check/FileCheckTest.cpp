#include "Counts.h"

#include "check/FileCheck.h"
#include "contacts/ContactNames.h"
#include "export/ExportSetup.h"
#include "export/Record.h"
#include "export/RecordWriter.h"
#include "storage/FileReader.h"
#include "support/Printing.h"

#include <numeric>
#include <random>
#include <sstream>

using namespace korvane;

namespace {

const ChatInfo chat{.id = 1, .guid = "g", .displayName = "Team"};

/// The line of a message that the chat's database could have, with its line feed.
std::string lineOf(std::int64_t rowID, const std::string& text = "hello",
    const std::string& title = "Team", const ChatInfo& of = chat, double date = 0)
{
    const ContactNames names;
    std::string line;
    RecordWriter(of, title, names)
        .append({.rowID = rowID,
                    .date = ReferenceTime(date != 0 ? date : static_cast<double>(rowID) * 60),
                    .text = text},
            line);
    return line;
}

std::string linesOf(const std::vector<std::int64_t>& rowIDs)
{
    return std::accumulate(rowIDs.begin(), rowIDs.end(), std::string(),
        [](std::string lines, std::int64_t rowID) { return std::move(lines) + lineOf(rowID); });
}

} // namespace

/// Comparing the lines of one file with the records that the database has: here always those of the
/// messages 1 to 5, of which 4 were exported.
class FileCheckTest : public QObject {
    Q_OBJECT

private slots:
    void countsAreThoseOfTheFile_data()
    {
        QTest::addColumn<std::string>("bytes");
        QTest::addColumn<std::string>("counts");
        const auto row = [](const char* name, const std::string& bytes, const std::string& counts) {
            QTest::newRow(name) << bytes << counts;
        };
        const std::string all = linesOf({1, 2, 3, 4});
        row("intact", all, "4 records, 1 new");
        row("in several batches", linesOf({2, 4, 1, 3}), "4 records, 1 new");
        row("backwards", linesOf({4, 3, 2, 1}), "4 records, 1 new");
        row("newer than the state", linesOf({1, 2, 3, 4, 5}), "5 records");
        row("empty", "", "0 records, 1 new, 4 missing");
        row("one absent", linesOf({1, 2, 4}), "3 records, 1 new, 1 missing");
        row("all twice", all + all, "8 records, 1 new, 4 doubled");
        row("one three times", linesOf({1, 2, 2, 2, 3, 4}), "6 records, 1 new, 2 doubled");
        row("truncated", all.substr(0, all.size() - 10), "3 records, 1 new, 1 missing, 1 torn");
        row("truncated before the line feed", all.substr(0, all.size() - 1),
            "3 records, 1 new, 1 missing, 1 torn");
        row("torn, then continued", linesOf({1}) + lineOf(2).substr(0, 20) + linesOf({3, 4}),
            "2 records, 1 new, 2 missing, 1 torn");
        row("garbage between", linesOf({1, 2}) + "garbage\n" + linesOf({3, 4}),
            "4 records, 1 new, 1 torn");
        row("empty lines", "\n" + all + "\n", "4 records, 1 new, 2 torn");
        row("zeros", std::string(5000, '\0'), "0 records, 1 new, 4 missing, 1 torn");
        row("invalid UTF-8", linesOf({1, 2, 3}) + lineOf(4, "x\xFFy"),
            "3 records, 1 new, 1 missing, 1 torn");
        row("edited", linesOf({1, 2, 3}) + lineOf(4, "hi"), "4 records, 1 new, 1 changed");
        row("renamed", lineOf(1, "hello", "Crew") + linesOf({2, 3, 4}),
            "4 records, 1 new, 1 renamed");
        row("another message", linesOf({1, 2, 3}) + lineOf(4, "other", "Team", chat, 999'999),
            "4 records, 1 new, 1 foreign");
        row("no longer in the database", linesOf({1, 2, 3, 4, 77, 78}), "6 records, 1 new, 2 gone");
        row("doubled and no longer in the database", linesOf({1, 2, 3, 4, 77, 77, 77}),
            "7 records, 1 new, 2 doubled, 1 gone");
        row("another chat's records",
            all + lineOf(1, "x", "T", {.guid = "h"}) + lineOf(2, "x", "T", {.guid = "h"}),
            "6 records, 1 new, 2 gone");
        row("edited, and then the same again", linesOf({1, 2, 3}) + lineOf(4, "hi") + lineOf(4),
            "5 records, 1 new, 1 doubled, 1 changed");
        row("the same, and then edited", all + lineOf(4, "hi"), "5 records, 1 new, 1 doubled");
        row("other bytes of the same values",
            linesOf({1, 2, 3}) + "{ " + lineOf(4).substr(1, lineOf(4).size() - 2) + " \r\n",
            "4 records, 1 new");
    }

    void countsAreThoseOfTheFile()
    {
        QFETCH(std::string, bytes);
        QFETCH(std::string, counts);
        QCOMPARE(describe(countsOf(bytes, 4)), counts);
    }

    void recordWithANumberInAnotherFormIsNoneOfTheChat()
    {
        std::string line = lineOf(4);
        line.replace(line.find("mac:g:4"), 7, "mac:g:04");
        QCOMPARE(describe(countsOf(linesOf({1, 2, 3}) + line, 4)),
            std::string("4 records, 1 new, 1 missing, 1 gone"));
    }

    void recordThatNamesAnotherChatIsChanged()
    {
        std::string line = lineOf(4);
        line.replace(line.find("conversationID\":\"g"), 18, "conversationID\":\"h");
        QCOMPARE(describe(countsOf(linesOf({1, 2, 3}) + line, 4)),
            std::string("4 records, 1 new, 1 changed"));
    }

    void withoutAFileEverythingExportedIsMissing()
    {
        QCOMPARE(describe(countsOf(std::nullopt, 4)), std::string("0 records, 1 new, 4 missing"));
        QCOMPARE(describe(countsOf(std::nullopt, 0)), std::string("0 records, 5 new"));
    }

    void withoutAStateTheFileTellsWhatWasExported()
    {
        QCOMPARE(describe(countsOf(linesOf({1, 2, 3}), {})), std::string("3 records, 2 new"));
        QCOMPARE(
            describe(countsOf(linesOf({1, 3}), {})), std::string("2 records, 2 new, 1 missing"));
        QCOMPARE(describe(countsOf("", {})), std::string("0 records, 5 new"));
    }

    void intactFileIsOnePassAndDifferencesAreTwo()
    {
        countsOf(linesOf({4, 3, 2, 1, 77}) + "torn\n", 4);
        QCOMPARE(m_passes, 1);
        countsOf(linesOf({1, 2, 3}) + lineOf(4, "hi"), 4);
        QCOMPARE(m_passes, 2);
    }

    void guidOfAnyCharactersIsUnderstood()
    {
        const ChatInfo odd{.id = 1, .guid = "a\"\\:\n\xF0\x9F\x98\x80:9"};
        const std::string line = lineOf(7, "hi", "T", odd);
        writeFile(path(), line);
        const auto file = FileReader::open(path());
        const RecordCounts counts = countRecords({.guid = odd.guid,
            .file = &*file,
            .expected =
                [&](const ExpectedLineVisitor& visit) {
                    std::string changed = lineOf(7, "hello", "T", odd);
                    changed.pop_back();
                    visit(7, changed);
                },
            .lastRowID = 7,
            .onLine = [] {}});
        QCOMPARE(describe(counts), std::string("1 records, 1 changed"));
    }

    void oneDamagedByteIsAlwaysNoticedUnlessItIsInAName()
    {
        std::mt19937 random(1);
        const std::string all = linesOf({1, 2, 3, 4});
        int intact = 0;
        for (int i = 0; i < 1000; ++i) {
            std::string bytes = all;
            char& byte = bytes[random() % bytes.size()];
            byte = static_cast<char>(byte ^ static_cast<char>(1 + random() % 255));
            const RecordCounts counts = countsOf(bytes, 4);
            intact += counts.areIntact() ? 1 : 0;
            QVERIFY2(!counts.areIntact() || withoutNames(bytes) == withoutNames(all),
                (describe(counts) + " in\n" + bytes).c_str());
        }
        QVERIFY(intact > 0);
    }

    void fileWithLongLinesIsReadToItsEnd()
    {
        const std::string longLine = lineOf(1, std::string(3'000'000, 'x'));
        QCOMPARE(describe(countsOf(longLine + linesOf({2, 3, 4}), 4)),
            std::string("4 records, 1 new, 1 changed"));
    }

    void lineCallbackCanEndTheCheck()
    {
        struct Enough { };
        writeFile(path(), linesOf({1, 2, 3}));
        const auto file = FileReader::open(path());
        QVERIFY_THROWS_EXCEPTION(Enough,
            countRecords({.guid = "g",
                .file = &*file,
                .expected = [](const ExpectedLineVisitor&) {},
                .onLine = [] { throw Enough(); }}));
    }

private:
    /// The records in `lines`, without names.
    static std::vector<Record> withoutNames(const std::string& lines)
    {
        std::vector<Record> records;
        std::istringstream in(lines);
        for (std::string line; std::getline(in, line);) {
            records.push_back(Record::fromLine(line).value_or(Record()));
            records.back().sender = records.back().conversationName = "";
        }
        return records;
    }

    std::filesystem::path path() const
    {
        return m_folder.filePath(QStringLiteral("f")).toStdString();
    }

    RecordCounts countsOf(const std::optional<std::string>& bytes, std::optional<std::int64_t> last)
    {
        writeFile(path(), bytes.value_or(""));
        const auto file = FileReader::open(path());
        m_passes = 0;
        return countRecords({.guid = "g",
            .file = bytes ? &*file : nullptr,
            .expected =
                [this](const ExpectedLineVisitor& visit) {
                    ++m_passes;
                    for (std::int64_t rowID = 1; rowID <= 5; ++rowID) {
                        const std::string line = lineOf(rowID);
                        visit(rowID, std::string_view(line).substr(0, line.size() - 1));
                    }
                },
            .lastRowID = last,
            .onLine = [] {}});
    }

    QTemporaryDir m_folder;
    int m_passes = 0;
};

QTEST_GUILESS_MAIN(FileCheckTest)
#include "FileCheckTest.moc"
