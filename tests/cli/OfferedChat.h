#pragma once

#include "Terminal.h"

#include "pairing/TransferLink.h"
#include "server/RunningServer.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace korvane {

/// A user at a terminal in an empty folder, who receives chats there.
class Recipient {
public:
    Recipient();
    ~Recipient(); ///< back in the folder of before
    Recipient(const Recipient&) = delete;
    Recipient& operator=(const Recipient&) = delete;

    /// Runs `receive` with these arguments, and the link as its input.
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

/// A chat on offer at a server of the test's own, and somebody who has the link to it.
struct OfferedChat {
    explicit OfferedChat(int messages = 3);

    Recipient recipient;
    ExportedChat chat;
    RunningServer running;
    TransferLink link;
};

/// A link to that port of this machine, with a ticket and a key made for it.
TransferLink linkTo(std::uint16_t port);

/// A key that is just not this one.
SymmetricKey otherThan(const SymmetricKey& key);

/// Whether the key, in one form or another, or the ticket is in what was printed.
bool tellsSecrets(const std::string& printed, const TransferLink& link);
inline bool tellsSecrets(const Outcome& outcome, const TransferLink& link)
{
    return tellsSecrets(outcome.out + outcome.err, link);
}

} // namespace korvane
