#include "export/FileName.h"
#include "support/Printing.h"

#include <limits>

namespace korvane {

namespace {

void row(const char* name, const std::string& title, const std::string& expected)
{
    QTest::newRow(name) << title << expected;
}

std::string times(int count, const std::string& text)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

} // namespace

/// Deriving a file name from a chat's title.
class FileNameTest : public QObject {
    Q_OBJECT

private slots:
    void replacesForbiddenCharacters_data()
    {
        QTest::addColumn<std::string>("title");
        QTest::addColumn<std::string>("expected");
        row("backslash", "a\\b", "a_b");
        row("slash", "a/b", "a_b");
        row("colon", "a:b", "a_b");
        row("asterisk", "a*b", "a_b");
        row("question mark", "a?b", "a_b");
        row("quotation mark", "a\"b", "a_b");
        row("less than", "a<b", "a_b");
        row("greater than", "a>b", "a_b");
        row("vertical bar", "a|b", "a_b");
        row("all of them", "\\/:*?\"<>|", "_________");
        row("a folder upwards", "../..", ".._..");
        row("several kinds", "A/B: C?", "A_B_ C_");
        row("a line break", "one\ntwo", "one_two");
        row("a line break of two characters", "one\r\ntwo", "one__two");
        row("a tab at the start stays as a line", "\tTeam\t", "_Team_");
        row("C1 controls, next line among them", "a\u0080\u0085\u009fb", "a___b");
        row("soft hyphen", "a\u00adb", "a_b");
        row("zero width space", "a\u200bb", "a_b");
        row("zero width joiner and non-joiner", "a\u200d\u200cb", "a__b");
        row("marks of direction", "\u200e\u200fa\u202a\u202e\u2066\u2069", "__a____");
        row("byte order mark", "\ufeffTeam", "_Team");
        row("a character above the first plane", "a\U000e0001b", "a_b");
        row("a family falls apart", "👩‍👧", "👩_👧");
        row("a flag of a region falls apart", "🏴\U000e0067\U000e0062\U000e007f", "🏴___");
        row("only forbidden ones", "::", "__");
        row("full-width twins stay", "a／b：c？", "a／b：c？");
        row("line and paragraph separators stay", "a\u2028b\u2029c", "a\u2028b\u2029c");
        row("variation selectors stay", "❤\ufe0f", "❤\ufe0f");
        row("private use and unassigned stay", "\ue000\U0003fffd", "\ue000\U0003fffd");
    }

    void replacesForbiddenCharacters()
    {
        QFETCH(std::string, title);
        QFETCH(std::string, expected);
        QCOMPARE(Exporter::safeFileName(title), expected);
    }

    void replacesEveryControlCharacter()
    {
        for (int c = 0; c < 0x20; ++c)
            QCOMPARE(Exporter::safeFileName("a" + std::string(1, static_cast<char>(c)) + "b"),
                std::string("a_b"));
        QCOMPARE(Exporter::safeFileName("a\x7f"), std::string("a_"));
    }

    void keepsAllOtherAscii()
    {
        const std::string kept = "!#$%&'()+,-.0123456789;=@ABCDEFGHIJKLMNOPQRSTUVWXYZ[]^_`"
                                 "abcdefghijklmnopqrstuvwxyz{}~";
        QCOMPARE(Exporter::safeFileName(kept), kept);
    }

    void trimsBlanks_data()
    {
        QTest::addColumn<std::string>("title");
        QTest::addColumn<std::string>("expected");
        row("around", "  Team  ", "Team");
        row("inside they stay", " a  b ", "a  b");
        row("nothing but blanks", "   ", "");
        row("no-break spaces", "\u00a0Team\u202f", "Team");
        row("an ideographic space", "\u3000チーム\u3000", "チーム");
        row("thin and other spaces", "\u2003\u2009\u205f\u1680Team\u2000", "Team");
        row("separators of lines are no blanks", "\u2028Team\u2029", "\u2028Team\u2029");
        row("behind a replaced character", "\n Team \n", "_ Team _");
        row("a blank that carries an accent", " \u0301Team", "\u0301Team");
    }

    void trimsBlanks()
    {
        QFETCH(std::string, title);
        QFETCH(std::string, expected);
        QCOMPARE(Exporter::safeFileName(title), expected);
    }

    void keepsOneHundredCharacters_data()
    {
        QTest::addColumn<std::string>("character");
        for (const char* character : {"x", "é", "e\u0301", "漢", "😀", "👍🏽", "🇩🇪", "❤\ufe0f",
                 "1\ufe0f\u20e3", "한", "\u1112\u1161\u11ab", "a\u0300\u0301\u0302\u0303", "का"})
            QTest::addRow("%s", character) << std::string(character);
    }

    void keepsOneHundredCharacters()
    {
        QFETCH(std::string, character);
        QCOMPARE(Exporter::safeFileName(times(99, character)), times(99, character));
        QCOMPARE(Exporter::safeFileName(times(100, character)), times(100, character));
        QCOMPARE(Exporter::safeFileName(times(101, character)), times(100, character));
        QCOMPARE(Exporter::safeFileName(times(150, character)), times(100, character));
        QCOMPARE(
            Exporter::safeFileName(times(99, "x") + character + "y"), times(99, "x") + character);
    }

    void keepsShorterTitlesWhole_data()
    {
        QTest::addColumn<std::string>("title");
        QTest::newRow("empty") << std::string();
        QTest::newRow("right to left") << std::string("שלום עולם");
        QTest::newRow("a decomposed accent") << std::string("Cafe\u0301");
        QTest::newRow("a composed accent") << std::string("Café");
        QTest::newRow("one character with a thousand accents") << "a" + times(1000, "\u0301");
    }

    void keepsShorterTitlesWhole()
    {
        QFETCH(std::string, title);
        QCOMPARE(Exporter::safeFileName(title), title);
    }

    void trimsBeforeItCounts()
    {
        QCOMPARE(Exporter::safeFileName("  " + times(100, "x") + "y"), times(100, "x"));
        QCOMPARE(Exporter::safeFileName(times(99, "x") + "  y"), times(99, "x") + " ");
        QCOMPARE(Exporter::safeFileName(times(150, ":")), times(100, "_"));
        QCOMPARE(Exporter::safeFileName(times(60, "a\u200d")), times(50, "a_"));
    }

    void namesTheFile_data()
    {
        QTest::addColumn<std::string>("title");
        QTest::addColumn<qint64>("id");
        QTest::addColumn<std::string>("name");
        const auto row
            = [](const char* label, const std::string& title, qint64 id, const std::string& name) {
                  QTest::newRow(label) << title << id << name;
              };
        row("forbidden characters", "A/B: C?", 7, "A_B_ C_ (7) Korvane Wrapped.jsonl.txt");
        row("blanks around", "  Team  ", 12, "Team (12) Korvane Wrapped.jsonl.txt");
        row("empty title", "", 3, " (3) Korvane Wrapped.jsonl.txt");
        row("id zero", "Team", 0, "Team (0) Korvane Wrapped.jsonl.txt");
        row("negative id", "Team", -5, "Team (-5) Korvane Wrapped.jsonl.txt");
        row("largest id", "Team", std::numeric_limits<qint64>::max(),
            "Team (9223372036854775807) Korvane Wrapped.jsonl.txt");
        row("smallest id", "Team", std::numeric_limits<qint64>::min(),
            "Team (-9223372036854775808) Korvane Wrapped.jsonl.txt");
        row("the limit is on the title alone", times(101, "x"), 1,
            times(100, "x") + " (1) Korvane Wrapped.jsonl.txt");
    }

    void namesTheFile()
    {
        QFETCH(std::string, title);
        QFETCH(qint64, id);
        QFETCH(std::string, name);
        QCOMPARE(Exporter::exportFileName(title, id), name);
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::FileNameTest)
#include "FileNameTest.moc"
