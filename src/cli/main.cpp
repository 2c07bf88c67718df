#include "cli/CommandLine.h"
#include "cli/Console.h"
#include "messages/Sqlite.h"
#include "storage/Descriptor.h"
#include "storage/LocaleWarning.h"

#include <QCoreApplication>

#include <unistd.h>

#include <clocale>
#include <csignal>
#include <iostream>

int main(int argc, char* argv[])
{
    korvane::suppressLocaleWarning();
    korvane::raiseDescriptorLimit();
    const QCoreApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C"); // same decimal point in every locale
    korvane::Sqlite::configureProcess();
    std::signal(SIGXFSZ, SIG_IGN); // over RLIMIT_FSIZE, write() fails with EFBIG instead
    return korvane::runCommandLine({argv + 1, argv + argc},
        {std::cout, std::cerr, ::isatty(STDERR_FILENO) == 1, std::cin, STDOUT_FILENO});
}
