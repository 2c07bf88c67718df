#include "cli/Console.h"

#include "cli/Table.h"

namespace korvane {

void Console::complain(std::string_view text) const
{
    err << "korvane-sync: " << printable(text) << '\n';
}

} // namespace korvane
