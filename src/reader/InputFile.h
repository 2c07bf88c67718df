#pragma once

#include "storage/FileReader.h"

#include <filesystem>
#include <optional>
#include <string>

namespace korvane {

/// An export file, open for reading, or the reason why it is not: "It is a symbolic link."
struct InputFile {
    std::optional<FileReader> reader;
    std::string error; ///< a sentence; "" if `reader` is there

    static InputFile open(const std::filesystem::path& path);
};

} // namespace korvane
