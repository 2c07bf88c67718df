#pragma once

#include "cli/Console.h"
#include "cli/TransferClient.h"

#include <optional>
#include <string>

namespace korvane {

struct ReceiveOptions {
    std::string link; ///< "" or "-": the first line of the console's input
    std::optional<std::string> output; ///< absent: the name that a phone would give the file
    TransferClient::Limits limits;
};

/// Fetches the chat that the link stands for, opens its seal and writes it into a file, whole or
/// not at all. Throws std::runtime_error, whose text holds nothing secret. A file that is there
/// is only replaced where the user has named it.
int runReceive(const ReceiveOptions& options, const Console& console);

} // namespace korvane
