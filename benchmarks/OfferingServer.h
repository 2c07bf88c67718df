#pragma once

#include "ClientProcess.h"

#include "server/SyncServer.h"
#include "storage/Descriptor.h"

#include <cstdint>
#include <string>

namespace korvane {

/// A folder with the export file of one chat and the export state that lists it. A plain value.
struct Scene {
    std::string home; ///< export folder and support folder in one
    std::string fileName;
    std::int64_t size = 0; ///< of the file, in bytes

    /// Creates the folder, the file and the state. The first `written` bytes of the file, a
    /// multiple of 1 MiB, hold data; the rest of its `size` bytes is a hole.
    static Scene prepared(const std::string& home, std::int64_t size, std::int64_t written);

    std::string path() const { return home + "/" + fileName; }
    Descriptor open() const;

    SupportFolder support() const { return SupportFolder(home); }
};

/// The server under measurement. It offers the scene's chat on the loopback interface.
class OfferingServer {
public:
    /// Starts the server and waits until it listens.
    explicit OfferingServer(const Scene& scene);

    /// An invitation with a new ticket for the scene's file.
    Invitation withTicket();

    /// An invitation with the pairing's token.
    Invitation withToken() const;

private:
    const std::string m_fileName;
    SyncServer m_server;
    std::uint16_t m_port = 0;
};

} // namespace korvane
