#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/// What folders contain: the absolute path of each file and its bytes; no bytes for a folder.
using Tree = std::map<std::string, std::optional<std::string>>;

/// Everything in `folders`, these included. A folder that does not exist is left out.
Tree readTree(const std::vector<std::filesystem::path>& folders);

/// Replaces the contents of `folders` by `tree`.
void writeTree(const Tree& tree, const std::vector<std::filesystem::path>& folders);

/// The differences in a few lines, for a message.
std::string differences(const Tree& actual, const Tree& expected);

} // namespace korvane
