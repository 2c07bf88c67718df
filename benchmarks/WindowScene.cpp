#include "WindowScene.h"

#include "Child.h"

#include "messages/MessagesDB.h"
#include "sample/SampleDatabase.h"
#include "state/Settings.h"

#include <cstdlib>
#include <filesystem>
#include <set>

namespace korvane {

namespace {

void setFolder(const char* variable, const std::string& folder)
{
    std::filesystem::create_directories(folder);
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all); // Qt requires 0700
    ::setenv(variable, folder.c_str(), 1);
}

std::set<std::string> firstGuids(const std::string& database, std::size_t count)
{
    std::set<std::string> guids;
    for (const ChatInfo& chat : MessagesDB(database).chats()) {
        if (guids.size() < count)
            guids.insert(chat.guid);
    }
    return guids;
}

void fill(const WindowScene& scene, const SampleSize& size, std::size_t selected)
{
    scene.enter();
    const std::string database = scene.home + "/Library/Messages/chat.db";
    std::filesystem::create_directories(scene.home + "/Library/Messages");
    std::filesystem::create_directories(scene.home + "/.contacts");
    writeSampleDatabase(database, size);
    writeSampleContacts(scene.home + "/.contacts/people.vcf", size);
    Settings settings;
    settings.setSelected(firstGuids(database, selected));
    settings.setAutoSync(true);
    settings.setFolder(scene.exportFolder());
}

} // namespace

WindowScene WindowScene::prepared(
    const std::string& home, std::int64_t messages, std::int64_t chats, std::size_t selected)
{
    WindowScene scene{home};
    inChild([&] {
        return secondsOf([&] { fill(scene, {.messages = messages, .chats = chats}, selected); });
    });
    return scene;
}

void WindowScene::enter() const
{
    if (const char* user = std::getenv("HOME"))
        ::setenv("XAUTHORITY", (std::string(user) + "/.Xauthority").c_str(), 0);
    setFolder("HOME", home);
    setFolder("XDG_CONFIG_HOME", home + "/config");
    setFolder("XDG_DATA_HOME", home + "/data");
    setFolder("XDG_CACHE_HOME", home + "/cache");
    setFolder("XDG_RUNTIME_DIR", home + "/runtime");
    setFolder("KORVANE_SYNC_HOME", home + "/support");
    setFolder("TMPDIR", home + "/temporary");
    ::setenv("QT_LOGGING_RULES", "default.warning=false", 1); // about what offscreen lacks
}

} // namespace korvane
