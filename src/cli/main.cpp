#include "cli/CommandLine.h"
#include "messages/Sqlite.h"

#include <unistd.h>

#include <iostream>

int main(int argc, char* argv[])
{
    korvane::Sqlite::configureProcess();
    return korvane::runCommandLine(
        {argv + 1, argv + argc}, {std::cout, std::cerr, ::isatty(STDERR_FILENO) == 1});
}
