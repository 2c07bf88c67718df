#include "cli/ReadOutput.h"

#include "cli/Console.h"
#include "cli/Pager.h"
#include "cli/ReadCommand.h"
#include "reader/CsvWriter.h"
#include "reader/JsonWriter.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <string>
#include <string_view>

namespace korvane {

namespace {

bool isTerminal(const Console& console)
{
    return console.outDescriptor && ::isatty(*console.outDescriptor) == 1;
}

std::string_view environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

int columnsOf(const Console& console)
{
    constexpr int usual = 80;
    struct winsize size { };
    if (isTerminal(console) && ::ioctl(*console.outDescriptor, TIOCGWINSZ, &size) == 0
        && size.ws_col > 0)
        return size.ws_col;
    const std::string_view text = environment("COLUMNS");
    int columns = 0;
    std::from_chars(text.data(), text.data() + text.size(), columns);
    return columns > 0 ? columns : usual;
}

std::unique_ptr<ConversationWriter> writerFor(
    const ReadOptions& options, const Console& console, std::ostream& out)
{
    if (options.json)
        return std::make_unique<JsonWriter>(out);
    if (options.csv)
        return std::make_unique<CsvWriter>(out);
    return std::make_unique<TextWriter>(out, textStyleFor(console));
}

} // namespace

TextStyle textStyleFor(const Console& console)
{
    return {.columns = columnsOf(console),
        .colours
        = isTerminal(console) && environment("NO_COLOR").empty() && environment("TERM") != "dumb"};
}

ReadOutput::ReadOutput(const ReadOptions& options, const Console& console)
    : m_isTerminal(korvane::isTerminal(console))
    , m_pager(m_isTerminal && !options.json && !options.csv ? Pager::start() : nullptr)
    , m_out(m_pager ? m_pager->stream() : console.out)
    , m_writer(writerFor(options, console, m_out))
{
}

ReadOutput::~ReadOutput() = default;

bool ReadOutput::isWanted() const
{
    return m_out.good();
}

} // namespace korvane
