#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <string>

namespace korvane {

/// RAII: sets the umask of the process and restores the previous one.
class Umask {
public:
    explicit Umask(mode_t mask) : m_before(::umask(mask)) { }
    ~Umask() { ::umask(m_before); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

private:
    const mode_t m_before;
};

/// The permission bits of a file as three octal digits: "600".
inline std::string modeOf(const std::filesystem::path& file)
{
    auto mode = static_cast<unsigned>(std::filesystem::status(file).permissions());
    std::string digits;
    for (int digit = 0; digit < 3; ++digit) {
        digits.insert(digits.begin(), static_cast<char>('0' + mode % 8));
        mode /= 8;
    }
    return digits;
}

} // namespace korvane
