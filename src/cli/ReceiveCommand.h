#pragma once

#include "cli/TransferClient.h"

#include <optional>
#include <string>

namespace korvane {

struct Console;

struct ReceiveOptions {
    std::string link; ///< "" or "-": the first line of the console's input
    std::optional<std::string> output; ///< absent: "Korvane-History.txt"
    TransferClient::Limits limits;
};

/// Fetches the chat that the link stands for, decrypts it and writes it to a file, whole or not at
/// all. Replaces an existing file only if `output` names it. Throws std::runtime_error, whose text
/// holds nothing secret.
int runReceive(const ReceiveOptions& options, const Console& console);

} // namespace korvane
