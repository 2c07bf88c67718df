#include "Terminal.h"

#include "cli/CommandLine.h"
#include "cli/Console.h"
#include "storage/Files.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace korvane {

Terminal::Terminal()
{
    qputenv("HOME", QByteArray::fromStdString(home()));
    qputenv("XDG_DATA_HOME", QByteArray::fromStdString(home() + "/data"));
    qputenv("KORVANE_SYNC_HOME", QByteArray::fromStdString(support())); // for child processes
}

Terminal::~Terminal()
{
    qunsetenv("KORVANE_SYNC_HOME");
}

Outcome Terminal::run(const std::vector<std::string>& arguments, const std::string& input) const
{
    return run(arguments, input, SupportFolder(support()));
}

Outcome Terminal::run(const std::vector<std::string>& arguments, const std::string& input,
    const SupportFolder& support) const
{
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    const int code = runCommandLine(arguments, support, {.out = out, .err = err, .in = in});
    return {code, out.str(), err.str()};
}

std::vector<std::string> filesIn(const std::string& folder)
{
    std::vector<std::string> names;
    if (!std::filesystem::exists(folder))
        return names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string contentsOf(const std::string& file)
{
    return Files::read(file).value_or("(no such file)");
}

} // namespace korvane
