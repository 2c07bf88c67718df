#include "cli/CommandLine.h"
#include "messages/Sqlite.h"

#include <unistd.h>

#include <csignal>
#include <iostream>

int main(int argc, char* argv[])
{
    korvane::Sqlite::configureProcess();
    std::signal(SIGXFSZ, SIG_IGN); // a limit on file sizes fails one chat, not the process
    return korvane::runCommandLine(
        {argv + 1, argv + argc}, {std::cout, std::cerr, ::isatty(STDERR_FILENO) == 1});
}
