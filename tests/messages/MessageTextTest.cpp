#include "messages/Rows.h"

#include <QElapsedTimer>

namespace korvane {

namespace {

std::string bodyOf(const std::string& text)
{
    return bytes("\x04\x0BstreamtypedNSString\x01\x94\x84\x01+") + static_cast<char>(text.size())
        + text + "\x86\x84";
}

} // namespace

/// The text of a message: from the text column, or else from the attributed body, without
/// placeholders for attachments.
class MessageTextTest : public QObject {
    Q_OBJECT

private slots:
    void takesTheTextOrElseTheBody_data()
    {
        using Text = std::optional<std::string>;
        QTest::addColumn<Text>("text");
        QTest::addColumn<Text>("body");
        QTest::addColumn<std::string>("expected");

        const auto row
            = [](const char* name, const Text& text, const Text& body,
                  const std::string& expected) { QTest::newRow(name) << text << body << expected; };
        const Text none;
        row("a text", "hello", none, "hello");
        row("a text does not look at the body", "hello", bodyOf("other"), "hello");
        row("an empty text and a body", "", bodyOf("hello"), "hello");
        row("no text and a body", none, bodyOf("hello"), "hello");
        row("no text and no body", none, none, "");
        row("an empty text and no body", "", none, "");
        row("an empty body", none, "", "");
        row("a body that tells nothing", none, "streamtyped", "");
        row("a body with an empty text", "", bodyOf(""), "");
        row("a body cut short", none, bodyOf("hello").substr(0, 30), "");
        row("blanks and line breaks stay", " a\r\n\tb \n", none, " a\r\n\tb \n");
        row("a blank is a text", " ", bodyOf("other"), " ");
        row("only a placeholder", "\uFFFC", none, "");
        row("only a placeholder, with a body", "\uFFFC", bodyOf("other"), "");
        row("placeholders all over", "\uFFFC\uFFFCa\uFFFC b\uFFFC\uFFFCc\uFFFC", none, "a bc");
        row("a placeholder in a body", none, bodyOf("\uFFFChello\uFFFC"), "hello");
        row("only placeholders in a body", "", bodyOf("\uFFFC\uFFFC"), "");
        row("blanks around a placeholder stay", " \uFFFC ", none, "  ");
        row("neighbours of the placeholder stay", "\uFFFB\uFFFC\uFFFD\uFEFF", none,
            "\uFFFB\uFFFD\uFEFF");
        row("a NUL inside", bytes("a\0b"), none, bytes("a\0b"));
        row("letters and emoji", "Gr\u00FC\u00DFe \U0001F44D", none, "Gr\u00FC\u00DFe \U0001F44D");
        row("letters that could be joined stay apart", "e\u0301", none, "e\u0301");
        row("a long text", std::string(100'000, 'x'), none, std::string(100'000, 'x'));
    }

    void takesTheTextOrElseTheBody()
    {
        QFETCH(std::optional<std::string>, text);
        QFETCH(std::optional<std::string>, body);
        QFETCH(std::string, expected);
        OneChat database;
        QCOMPARE(database.rowOf({.text = text, .body = body}).text, expected);
    }

    void repairsIllFormedTextButNotBodies()
    {
        OneChat database;
        QCOMPARE(database.rowOf({.text = "a\xFF\xE2\x82z"}).text, "a\uFFFD\uFFFDz");
        QCOMPARE(database.rowOf({.text = "\xFF", .body = bodyOf("other")}).text, "\uFFFD");
        QCOMPARE(database.rowOf({.text = "\xFF\uFFFC\xEF\xBF"}).text, "\uFFFD\uFFFD");
        QCOMPARE(database.rowOf({.text = {}, .body = bodyOf("a\xFFz")}).text, "");
    }

    void takesAMillionPlaceholdersOutInNoTime()
    {
        constexpr int count = 1'000'000;
        std::string text;
        for (int i = 0; i < count; ++i)
            text += "a\uFFFC";
        OneChat database;
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(database.rowOf({.text = text}).text, std::string(count, 'a'));
        QVERIFY2(timer.elapsed() < 10000, "a time that grows with the square would be minutes");
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::MessageTextTest)
#include "MessageTextTest.moc"
