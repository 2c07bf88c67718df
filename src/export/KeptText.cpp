#include "export/KeptText.h"

#include <numeric>

namespace korvane {

namespace {

/// `count` is not negative.
std::string withCommas(std::int64_t count)
{
    std::string digits = std::to_string(count);
    for (std::size_t place = digits.size(); place > 3; place -= 3)
        digits.insert(place - 3, ",");
    return digits;
}

} // namespace

std::string countOf(std::int64_t count, const std::string& thing)
{
    return withCommas(count) + ' ' + thing + (count == 1 ? "" : "s");
}

std::string textOf(const KeptFile& file)
{
    return "Kept " + countOf(file.messages, "message") + " of " + file.title
        + " that Messages no longer has: " + file.file;
}

std::string textOf(const std::vector<KeptFile>& files)
{
    if (files.size() == 1)
        return textOf(files.front());
    const std::int64_t messages = std::accumulate(files.begin(), files.end(), std::int64_t{0},
        [](std::int64_t sum, const KeptFile& file) { return sum + file.messages; });
    return "Kept " + countOf(messages, "message") + " that Messages no longer has: "
        + countOf(static_cast<std::int64_t>(files.size()), "file") + " in Kept";
}

} // namespace korvane
