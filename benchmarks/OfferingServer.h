#pragma once

#include "ClientProcess.h"

#include "server/SyncServer.h"
#include "storage/Descriptor.h"

#include <cstdint>
#include <string>

namespace korvane {

/// The export of one chat, and the support folder that knows of it. A plain value.
struct Scene {
    std::string home; ///< both folders in one
    std::string fileName;
    std::int64_t size = 0; ///< of the file, in bytes

    /// The first `written` bytes of the file, whole MiB, are written; the others are a hole.
    static Scene prepared(const std::string& home, std::int64_t size, std::int64_t written);

    std::string path() const { return home + "/" + fileName; }
    Descriptor open() const;

    /// Makes it this process' support folder.
    void enter() const;
};

/// The server under measurement, on the loopback interface, with a scene's chat on offer.
class OfferingServer {
public:
    /// Starts it and waits until it is ready. The process has to have entered the scene.
    explicit OfferingServer(const Scene& scene);

    /// For a client that is to use a new ticket for the scene's file.
    Invitation withTicket();

    /// For a client that is to use the pairing's token.
    Invitation withToken() const;

private:
    const std::string m_fileName;
    SyncServer m_server{{.address = "127.0.0.1"}};
    std::uint16_t m_port = 0;
};

} // namespace korvane
