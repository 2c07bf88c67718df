#include "app/Application.h"
#include "messages/Sqlite.h"
#include "storage/Descriptor.h"
#include "storage/LocaleWarning.h"

#include <csignal>

int main(int argc, char* argv[])
{
    using namespace korvane;
    suppressLocaleWarning();
    if (const auto folder = Application::snapshotFolder({argv + 1, argv + argc}))
        return Application::writeSnapshots(*folder, argc, argv);
    raiseDescriptorLimit();
    Sqlite::configureProcess();
    std::signal(SIGXFSZ, SIG_IGN); // write() past RLIMIT_FSIZE then fails instead of killing us
    return Application::run(argc, argv);
}
