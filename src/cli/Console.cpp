#include "cli/Console.h"

#include "cli/Table.h"

#include <regex>

namespace korvane {

namespace {

/// A link that landed where it is quoted keeps its key for itself.
std::string withoutKeys(const std::string& text)
{
    static const std::regex key("key=[^&\\s]*", std::regex::icase);
    return std::regex_replace(text, key, "key=…");
}

} // namespace

void Console::complain(std::string_view text) const
{
    err << "korvane-sync: " << withoutKeys(printable(text)) << '\n';
}

} // namespace korvane
