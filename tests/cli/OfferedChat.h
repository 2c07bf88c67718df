#pragma once

#include "Terminal.h"

#include "pairing/TransferLink.h"
#include "server/RunningServer.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace korvane {

/// A user at a terminal who receives chats. Its empty folder is the current one while it lives.
class Recipient {
public:
    Recipient();
    ~Recipient(); ///< restores the current folder
    Recipient(const Recipient&) = delete;
    Recipient& operator=(const Recipient&) = delete;

    /// Runs `receive` with these arguments and with the link as its standard input.
    Outcome receive(const std::string& link, const std::vector<std::string>& arguments = {}) const;
    Outcome receive(const TransferLink& link, const std::vector<std::string>& arguments = {}) const
    {
        return receive(link.toString(), arguments);
    }

    const Terminal& terminal() const { return m_terminal; }
    std::string folder() const { return m_terminal.home() + "/here"; }

private:
    const Terminal m_terminal;
    const std::filesystem::path m_before;
};

/// A chat offered by a server of this process, with the link to it and somebody to receive it.
struct OfferedChat {
    explicit OfferedChat(int messages = 3);

    Recipient recipient;
    ExportedChat chat;
    RunningServer running{chat.setup.support()};
    TransferLink link;
};

/// A link to the port of this machine, with a new ticket and key.
TransferLink linkTo(std::uint16_t port);

/// A key that differs from this one in its last bit only.
SymmetricKey otherThan(const SymmetricKey& key);

/// Whether `printed` contains the link's ticket, or its key in any usual encoding.
bool tellsSecrets(const std::string& printed, const TransferLink& link);
inline bool tellsSecrets(const Outcome& outcome, const TransferLink& link)
{
    return tellsSecrets(outcome.out + outcome.err, link);
}

} // namespace korvane
