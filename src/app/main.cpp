#include "app/Application.h"
#include "messages/Sqlite.h"
#include "process/ProcessSetup.h"
#include "storage/Paths.h"

int main(int argc, char* argv[])
{
    using namespace korvane;
    ProcessSetup::suppressLocaleWarning();
    if (const auto folder = Application::snapshotFolder({argv + 1, argv + argc}))
        return Application::writeSnapshots(*folder, argc, argv);
    ProcessSetup::raiseDescriptorLimit();
    ProcessSetup::ignoreFileSizeSignal();
    Sqlite::configureProcess();
    return Application::run(Paths::support(), argc, argv);
}
