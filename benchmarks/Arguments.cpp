#include "Arguments.h"

#include <algorithm>

namespace korvane {

bool Arguments::has(const std::string& name) const
{
    return std::find(words.begin(), words.end(), name) != words.end();
}

std::string Arguments::value(const std::string& name, const std::string& otherwise) const
{
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        if (words[i] == name)
            return words[i + 1];
    }
    return otherwise;
}

} // namespace korvane
