#pragma once

#include <optional>
#include <string>
#include <vector>

namespace korvane {

/// What the window program is started for.
namespace Application {

/// The folder behind "--snapshot", where there is one; without it the program starts as usual.
std::optional<std::string> snapshotFolder(const std::vector<std::string>& arguments);

/// Writes the pictures and returns what the process ends with.
int writeSnapshots(const std::string& folder, int& argc, char** argv);

/// Runs until the user quits; returns what the process ends with.
int run(int& argc, char** argv);

} // namespace Application

} // namespace korvane
