#pragma once

#include <string>
#include <vector>

namespace korvane {

/// The arguments of a benchmark, each "--name" or "--name value". A plain value.
struct Arguments {
    std::vector<std::string> words;

    Arguments(int argc, char* argv[]) : words(argv + 1, argv + argc) { }

    bool has(const std::string& name) const;

    /// The word after `name`, or `otherwise` if there is none.
    std::string value(const std::string& name, const std::string& otherwise) const;
};

} // namespace korvane
