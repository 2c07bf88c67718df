#include "cli/Console.h"

#include "cli/Table.h"

#include <algorithm>
#include <string>

namespace korvane {

namespace {

/// Replaces the value of each "key=": an error may quote a link, and its key must stay secret.
std::string withoutKeys(std::string text)
{
    constexpr std::string_view item = "key=";
    for (std::size_t at = text.find(item); at != text.npos; at = text.find(item, at)) {
        at += item.size();
        const std::size_t end = std::min(text.find_first_of("& \t\r\n", at), text.size());
        text.replace(at, end - at, "…");
    }
    return text;
}

} // namespace

void Console::complain(std::string_view text) const
{
    err << "korvane-sync: " << withoutKeys(printable(text)) << '\n';
}

bool Console::outputIsComplete() const
{
    if (out.flush())
        return true;
    out.clear();
    complain("Not all of the output could be written.");
    return false;
}

} // namespace korvane
