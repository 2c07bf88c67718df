#include "text/TerminalText.h"

#include "support/Printing.h"

using namespace korvane;

using Lines = std::vector<std::string>;

/// How texts are made safe for a terminal, measured and wrapped.
class TerminalTextTest : public QObject {
    Q_OBJECT

private slots:
    void symbolWithAnEmojiSelectorIsWide() { QCOMPARE(displayWidth("❤️❤"), 3); }

    void messageTextKeepsItsLinesAndLosesWhatIsInvisible_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<std::string>("expected");
        const auto row
            = [](const char* name, const std::string& text, const std::string& expected) {
                  QTest::newRow(name) << text << expected;
              };
        row("lines", "a\nb\r\nc\rd\u2028e\u2029f", "a\nb\nc\nd\ne\nf");
        row("empty lines", "a\n\n\r\rb", "a\n\n\n\nb");
        row("tabs", "a\tb", "a    b");
        row("an escape sequence", "a\x1B[2Jb", "a\uFFFD[2Jb");
        row("a zero", std::string("a\0b", 3), "a\uFFFDb");
        row("C1", "a\u009B2Jb\u0085", "a\uFFFD2Jb\uFFFD");
        row("bidi controls", "a\u202Eb\u2066c\u2069\u200F", "abc");
        row("a soft hyphen and a byte order mark", "a\u00ADb\uFEFF", "ab");
        row("tags", "a\U000E0041b", "ab");
        row("joiners", "می\u200Cخواهم 👩\u200D👧", "می\u200Cخواهم 👩\u200D👧");
        row("invalid UTF-8", "a\xFF", "a\uFFFD");
    }

    void messageTextKeepsItsLinesAndLosesWhatIsInvisible()
    {
        QFETCH(std::string, text);
        QFETCH(std::string, expected);
        QCOMPARE(printableLines(text), expected);
    }

    void textIsWrappedWhereItMayBeBroken_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<Lines>("expected");
        const auto row = [](const char* name, const std::string& text, const Lines& expected) {
            QTest::newRow(name) << text << expected;
        };
        row("nothing", "", {""});
        row("short", "0123456789", {"0123456789"});
        row("at a blank", "one two three", {"one two", "three"});
        row("a word that fills the line", "0123456789 ab", {"0123456789", "ab"});
        row("blanks at the break", "01234567   ab", {"01234567", "ab"});
        row("a long word", "abcdefghijklmnop", {"abcdefghij", "klmnop"});
        row("a long word after a short one", "a bcdefghijklm n", {"a", "bcdefghijk", "lm n"});
        row("after a hyphen", "well-considered", {"well-", "considered"});
        row("Japanese", "日本語のとても長い文", {"日本語のと", "ても長い文"});
        row("combining marks stay",
            "e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301x",
            {"e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301", "x"});
        row("a family stays together", "123456789👩\u200D👩\u200D👧",
            {"123456789", "👩\u200D👩\u200D👧"});
        row("a selector stays with its symbol", "a1\uFE0F2\uFE0F3\uFE0F4\uFE0F5\uFE0F6",
            {"a1\uFE0F2\uFE0F3\uFE0F4\uFE0F", "5\uFE0F6"});
    }

    void textIsWrappedWhereItMayBeBroken()
    {
        QFETCH(std::string, text);
        QFETCH(Lines, expected);
        QCOMPARE(wrapped(text, 10), expected);
    }

    void oneColumnIsEnough() { QCOMPARE(wrapped("日本 a", 1), (Lines{"日", "本", "a"})); }

    void selectorsNeedNoMoreThanTheirLines()
    {
        std::string keys;
        for (int i = 0; i < 1000; ++i)
            keys += "1\uFE0F";
        QCOMPARE(wrapped(keys, 9).size(), std::size_t{250});
        QCOMPARE(displayWidth(wrapped(keys, 9).front()), 8);
        QVERIFY(wrapped(keys, 1).size() <= 2000);
    }

    void millionCharactersAreWrappedQuickly()
    {
        const std::string word(1'000'000, 'x');
        const Lines lines = wrapped(word + " é", 50);
        QCOMPARE(lines.size(), std::size_t{20'001});
        QCOMPARE(lines.back(), std::string("é"));
    }
};

QTEST_GUILESS_MAIN(TerminalTextTest)
#include "TerminalTextTest.moc"
