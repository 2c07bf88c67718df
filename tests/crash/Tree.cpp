#include "crash/Tree.h"

#include "storage/Files.h"

#include <algorithm>
#include <fstream>

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::string described(const Tree& tree, const std::string& path)
{
    const auto found = tree.find(path);
    if (found == tree.end())
        return "absent";
    if (!found->second)
        return "a folder";
    const std::string& bytes = *found->second;
    const std::string lines = std::to_string(std::count(bytes.begin(), bytes.end(), '\n'));
    constexpr std::size_t shown = 600;
    return std::to_string(bytes.size()) + " bytes, " + lines + " lines"
        + (bytes.size() <= shown ? ": " + bytes : "");
}

} // namespace

Tree readTree(const std::vector<fs::path>& folders)
{
    Tree tree;
    for (const fs::path& folder : folders) {
        if (!fs::exists(folder))
            continue;
        tree.emplace(folder, std::nullopt);
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            tree.emplace(entry.path(), Files::read(entry.path()));
    }
    return tree;
}

void writeTree(const Tree& tree, const std::vector<fs::path>& folders)
{
    for (const fs::path& folder : folders)
        fs::remove_all(folder);
    for (const auto& [path, bytes] : tree) { // a folder comes before what is in it
        if (bytes)
            std::ofstream(path, std::ios::binary) << *bytes;
        else
            fs::create_directories(path);
    }
}

std::string differences(const Tree& actual, const Tree& expected)
{
    std::string text;
    Tree all = actual;
    all.insert(expected.begin(), expected.end());
    for (const auto& [path, ignored] : all) {
        const auto one = actual.find(path);
        const auto other = expected.find(path);
        const bool equal = one != actual.end() && other != expected.end() && *one == *other;
        if (!equal)
            text += path + "\n  actual: " + described(actual, path)
                + "\n  expected: " + described(expected, path) + "\n";
    }
    return text;
}

} // namespace korvane
