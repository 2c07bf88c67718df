#include "OfferingServer.h"

#include "export/ExportState.h"

#include <fcntl.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <memory>

namespace korvane {

namespace fs = std::filesystem;

namespace {

const std::string guid = "iMessage;-;+15550100";

void writeFile(const Scene& scene, std::int64_t written)
{
    const std::string mebibyte(std::size_t{1024} * 1024, 'x');
    std::ofstream file(scene.path());
    for (std::int64_t done = 0; done < written; done += std::ssize(mebibyte))
        file << mebibyte;
    file.close();
    fs::resize_file(scene.path(), static_cast<std::uintmax_t>(scene.size));
}

} // namespace

Scene Scene::prepared(const std::string& home, std::int64_t size, std::int64_t written)
{
    Scene scene{home, "Team (1) Korvane Wrapped.jsonl.txt", size};
    fs::create_directories(home);
    writeFile(scene, written);
    ExportState state;
    state.chats[guid] = {.lastRowID = 1,
        .fileName = scene.fileName,
        .title = "Team",
        .messages = 1,
        .epoch = "5C9D2E58-2B1A-4C39-9D0E-5A0C3B7F6A11",
        .formatVersion = currentFormatVersion};
    Exporter::saveState(state, scene.support());
    return scene;
}

Descriptor Scene::open() const
{
    return Descriptor(::open(path().c_str(), O_RDONLY));
}

OfferingServer::OfferingServer(const Scene& scene)
    : m_fileName(scene.fileName)
    , m_server(scene.support(), {.address = "127.0.0.1"})
{
    const auto ready = std::make_shared<std::promise<std::uint16_t>>();
    m_server.onReady = [ready](std::uint16_t port) { ready->set_value(port); };
    m_server.offer({guid}, scene.home);
    m_server.start(0);
    m_port = ready->get_future().get();
}

Invitation OfferingServer::withTicket()
{
    return Invitation(m_port, m_server.issueTransfer(m_fileName).value().ticket);
}

Invitation OfferingServer::withToken() const
{
    return Invitation(m_port, m_server.state().pairing.token);
}

} // namespace korvane
