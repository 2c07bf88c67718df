#include "reader/Archive.h"
#include "reader/Conversation.h"
#include "reader/CsvWriter.h"
#include "reader/JsonWriter.h"
#include "reader/TextWriter.h"
#include "support/Printing.h"

#include <fstream>
#include <memory>
#include <sstream>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

std::string read(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The lines with their ends made visible, so that a failure shows the first one that differs.
QStringList lines(const std::string& text)
{
    return QString::fromStdString(text).replace(u'\r', QStringLiteral("<CR>")).split(u'\n');
}

} // namespace

/// What the folder golden/export looks like in each form. To accept a change, set the environment
/// variable KORVANE_ACCEPT_GOLDEN and look at the difference that git shows.
class GoldenOutputTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "Europe/Berlin"); }

    void text() { compare<TextWriter>("text.txt", TextStyle{}); }
    void textOnANarrowTerminalWithColours()
    {
        compare<TextWriter>("colours.txt", TextStyle{.columns = 40, .colours = true});
    }
    void json() { compare<JsonWriter>("records.jsonl"); }
    void csv() { compare<CsvWriter>("records.csv"); }

private:
    template <typename Writer, typename... Arguments>
    static void compare(const std::string& name, const Arguments&... arguments)
    {
        std::ostringstream out;
        Writer writer(out, arguments...);
        const Archive archive = Archive::inFolder(GOLDEN "/export");
        QCOMPARE(archive.errors, std::vector<std::string>());
        for (const ArchivedChat& chat : archive.chats) {
            const Conversation conversation(chat);
            writer.write(conversation, chosenMessages(conversation, {}));
        }
        writer.finish();
        const fs::path file = fs::path(GOLDEN) / name;
        if (qEnvironmentVariableIsSet("KORVANE_ACCEPT_GOLDEN"))
            std::ofstream(file, std::ios::binary) << out.str();
        QCOMPARE(lines(out.str()), lines(read(file)));
    }
};

QTEST_GUILESS_MAIN(GoldenOutputTest)
#include "GoldenOutputTest.moc"
