#include "export/RecordLines.h"
#include "export/ExportSetup.h"
#include "storage/FileReader.h"
#include "support/Printing.h"

#include <QTemporaryDir>

using namespace std::string_literals;

namespace korvane {

namespace {

using Lines = std::vector<std::string>;

/// A file with the given bytes, open for reading.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& bytes)
    {
        const std::string path = m_folder.path().toStdString() + "/file";
        writeFile(path, bytes);
        m_reader = FileReader::open(path);
    }

    const FileReader& reader() const { return m_reader.value(); }

private:
    QTemporaryDir m_folder;
    std::optional<FileReader> m_reader;
};

struct Read {
    Lines lines;
    bool reachedStart = false;

    bool operator==(const Read&) const = default;
};

Read fromEnd(const std::string& bytes)
{
    const TemporaryFile file(bytes);
    LinesFromEnd lines(file.reader());
    Read read;
    while (const auto line = lines.next())
        read.lines.emplace_back(*line);
    read.reachedStart = lines.reachedStart();
    return read;
}

/// Joined, so that a failing comparison prints it.
std::string joined(const Lines& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += "[" + line + "]";
    return text;
}

std::string linesAfter(const std::string& bytes, std::int64_t offset)
{
    const TemporaryFile file(bytes);
    Lines lines;
    visitLinesAfter(file.reader(), offset, [&](std::string_view line) {
        lines.emplace_back(line);
        return lines.size() == 3;
    });
    return joined(lines);
}

} // namespace

/// Reading lines from the end of a file, and from a place within it.
class RecordLinesTest : public QObject {
    Q_OBJECT

private slots:
    void linesComeFromTheLastToTheFirst_data()
    {
        QTest::addColumn<std::string>("bytes");
        QTest::addColumn<std::string>("expected");
        QTest::newRow("no bytes") << ""s
                                  << ""s;
        QTest::newRow("one line") << "one\n"s
                                  << "[one]"s;
        QTest::newRow("three lines") << "one\ntwo\nthree\n"s
                                     << "[three][two][one]"s;
        QTest::newRow("a torn end") << "one\ntwo\nthr"s
                                    << "[two][one]"s;
        QTest::newRow("only a torn end") << "thr"s
                                         << ""s;
        QTest::newRow("empty lines") << "\n\none\n\n"s
                                     << "[][one][][]"s;
    }

    void linesComeFromTheLastToTheFirst()
    {
        QFETCH(std::string, bytes);
        QFETCH(std::string, expected);
        const Read read = fromEnd(bytes);
        QCOMPARE(joined(read.lines), expected);
        QVERIFY(read.reachedStart);
    }

    void linesOfEveryLengthAreWhole()
    {
        std::string bytes;
        Lines expected;
        for (int length = 0; length < 300'000; length = length * 5 / 4 + 1) {
            expected.insert(expected.begin(),
                std::string(static_cast<std::size_t>(length), 'x') + std::to_string(length));
            bytes += expected.front() + '\n';
        }
        const Read read = fromEnd(bytes + "torn");
        QVERIFY(read.reachedStart);
        QVERIFY(read.lines == expected);
    }

    void aHugeLineEndsTheReading_data()
    {
        QTest::addColumn<std::string>("end");
        QTest::newRow("with a line feed") << "\n"s;
        QTest::newRow("without a line feed") << ""s;
        QTest::newRow("followed by a line") << "\nlast\n"s;
    }

    void aHugeLineEndsTheReading()
    {
        QFETCH(std::string, end);
        const Read read = fromEnd("first\n" + std::string(8'000'000, 'x') + end);
        QCOMPARE(joined(read.lines), end.size() > 1 ? "[last]"s : ""s);
        QVERIFY(!read.reachedStart);
    }

    void linesAfterAPlaceBeginBehindIt_data()
    {
        QTest::addColumn<std::string>("bytes");
        QTest::addColumn<int>("offset");
        QTest::addColumn<std::string>("expected");
        QTest::newRow("the beginning") << "one\ntwo\n"s << 0 << "[one][two]"s;
        QTest::newRow("within a line") << "one\ntwo\n"s << 1 << "[two]"s;
        QTest::newRow("within the last line") << "one\ntwo\n"s << 5 << ""s;
        QTest::newRow("the end") << "one\ntwo\n"s << 8 << ""s;
        QTest::newRow("behind the end") << "one\n"s << 80 << ""s;
        QTest::newRow("no bytes") << ""s << 0 << ""s;
        QTest::newRow("a torn end") << "one\ntwo"s << 0 << "[one]"s;
        QTest::newRow("only a torn end") << "one"s << 0 << ""s;
        QTest::newRow("until the visitor has enough") << "1\n2\n3\n4\n"s << 0 << "[1][2][3]"s;
        const std::string longLine(100'000, 'x');
        QTest::newRow("a long line") << longLine + "\ntwo\n" << 0 << "[" + longLine + "][two]";
        QTest::newRow("after a long line") << longLine + "\ntwo\n" << 1 << "[two]"s;
        QTest::newRow("a huge line") << std::string(1'000'000, 'x') + "\n" << 0 << ""s;
    }

    void linesAfterAPlaceBeginBehindIt()
    {
        QFETCH(std::string, bytes);
        QFETCH(int, offset);
        QFETCH(std::string, expected);
        QCOMPARE(linesAfter(bytes, offset), expected);
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::RecordLinesTest)
#include "RecordLinesTest.moc"
