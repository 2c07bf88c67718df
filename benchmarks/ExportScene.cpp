#include "ExportScene.h"

#include "Child.h"

#include "contacts/VCardSource.h"

#include <memory>
#include <stdexcept>

namespace korvane {

namespace fs = std::filesystem;

ExportScene ExportScene::prepared(
    const std::string& folder, const std::string& name, const SampleSize& size)
{
    ExportScene scene{
        name, folder + "/" + name + ".db", folder + "/" + name + ".vcf", folder + "/" + name};
    fs::create_directories(scene.folder);
    if (fs::exists(scene.database))
        return scene;
    fs::remove(scene.contacts);
    inChild([&] {
        return secondsOf([&] {
            writeSampleDatabase(scene.database, size);
            writeSampleContacts(scene.contacts, size);
        });
    });
    return scene;
}

ContactNames ExportScene::names() const
{
    ContactSources sources;
    sources.push_back(std::make_unique<VCardSource>(contacts));
    return ContactNames::load(sources).names;
}

double ExportScene::fullExport(const SyncMode& mode) const
{
    Sqlite::configureProcess();
    fs::remove_all(exports());
    fs::remove_all(folder + "/support");
    return secondsOf([&] {
        const SyncResult result = Exporter::sync(
            MessagesDB(database).chats(), names(), exports(), support(), database, {}, mode);
        for (const std::string& error : result.errors)
            throw std::runtime_error(error);
    });
}

} // namespace korvane
