#include "cli/CommandLine.h"
#include "cli/Console.h"
#include "messages/Sqlite.h"
#include "process/ProcessSetup.h"
#include "storage/Paths.h"

#include <QCoreApplication>

#include <unistd.h>

#include <clocale>
#include <iostream>

int main(int argc, char* argv[])
{
    korvane::ProcessSetup::suppressLocaleWarning();
    korvane::ProcessSetup::raiseDescriptorLimit();
    korvane::ProcessSetup::ignoreFileSizeSignal();
    const QCoreApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C"); // same decimal point in every locale
    korvane::Sqlite::configureProcess();
    return korvane::runCommandLine({argv + 1, argv + argc}, korvane::Paths::support(),
        {std::cout, std::cerr, ::isatty(STDERR_FILENO) == 1, std::cin, STDOUT_FILENO,
            ::isatty(STDIN_FILENO) == 1});
}
