#include "reader/RecordLine.h"
#include "contacts/ContactNames.h"
#include "export/RecordWriter.h"
#include "reader/Records.h"
#include "support/Printing.h"

using namespace korvane;

/// Reading the lines of an export without a JSON parser.
class RecordLineTest : public QObject {
    Q_OBJECT

private slots:
    void linesOfAnExportAreRead_data()
    {
        QTest::addColumn<std::string>("body");
        QTest::newRow("plain") << std::string("hello");
        QTest::newRow("empty") << std::string();
        QTest::newRow("all escapes") << std::string("\"\\/\b\f\n\r\t\x01\x1F\x7F", 11);
        QTest::newRow("a backslash at the end") << std::string("\\");
        QTest::newRow("not ASCII") << std::string("é 日本 👩‍👩‍👧 \u2028 \u0085");
        QTest::newRow("like a record") << lineOf(message(1, "in \"it\""));
    }

    void linesOfAnExportAreRead()
    {
        QFETCH(std::string, body);
        const ContactNames names;
        std::string line;
        RecordWriter({.guid = "any;-;\"\\", .identifier = "+1"}, "T \"\\\n", names)
            .append({.rowID = 7,
                        .fromMe = true,
                        .text = body,
                        .attachmentCount = 1,
                        .photoCount = 2,
                        .recordKind = "message",
                        .replyToRowID = 3},
                line);
        line.pop_back();
        const auto found = RecordLine::from(line);
        QVERIFY(found);
        QCOMPARE(found->record(), Record::fromLine(line).value());
        QCOMPARE(lineOf(found->record()), line);
    }

    void everyChangedByteIsReadAsAnyParserDoesOrNotAtAll()
    {
        const std::string line = lineOf(reply(2, 1, "a \"b\" é"));
        QVERIFY(RecordLine::from(line));
        for (std::size_t at = 0; at < line.size(); ++at) {
            for (int byte = 0; byte < 256; ++byte) {
                std::string changed = line;
                changed[at] = static_cast<char>(byte);
                const auto found = RecordLine::from(changed);
                if (found)
                    QCOMPARE(found->record(), Record::fromLine(changed).value_or(Record()));
            }
        }
    }

    void otherFormsAreNotRead()
    {
        const std::string line = lineOf(message(1));
        for (const std::string& other :
            {line + ' ', ' ' + line, line.substr(0, line.size() - 1), line + line, std::string(),
                std::string("{}"), "{\"attachmentCount\":00" + line.substr(20),
                "{\"attachmentCount\":-0" + line.substr(20)})
            QVERIFY2(!RecordLine::from(other), other.c_str());
    }
};

QTEST_GUILESS_MAIN(RecordLineTest)
#include "RecordLineTest.moc"
