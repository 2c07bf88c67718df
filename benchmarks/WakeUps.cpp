#include "WakeUps.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace korvane {

namespace {

std::int64_t voluntarySwitches(const std::filesystem::path& status)
{
    std::ifstream lines(status);
    for (std::string name; lines >> name; lines.ignore(1000, '\n')) {
        std::int64_t count = 0;
        if (name == "voluntary_ctxt_switches:" && lines >> count)
            return count;
    }
    throw std::runtime_error("no count in " + status.string());
}

} // namespace

Sleeps sleepsOf(const Program& program)
{
    Sleeps sleeps;
    const std::filesystem::path threads = "/proc/" + std::to_string(program.id()) + "/task";
    for (const auto& thread : std::filesystem::directory_iterator(threads)) {
        const pid_t id = std::stoi(thread.path().filename().string());
        sleeps[id] = voluntarySwitches(thread.path() / "status");
    }
    return sleeps;
}

std::int64_t wakeUps(const Sleeps& before, const Sleeps& after)
{
    std::int64_t total = 0;
    for (const auto& [thread, count] : after) {
        const auto known = before.find(thread);
        total += known == before.end() ? count : count - known->second;
    }
    return total;
}

} // namespace korvane
