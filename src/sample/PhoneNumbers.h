#pragma once

#include "sample/Random.h"

#include <optional>
#include <string>

namespace korvane::sample {

/// One number twice: as the network reports it to Messages, and as someone typed it into an
/// address book. Both end in the same ten digits.
struct PhoneNumber {
    std::string handle;
    std::string typed;
};

/// Gives out numbers of the blocks set aside for fiction, no number twice.
class PhoneNumbers {
public:
    /// Absent once the blocks of the country drawn are used up.
    std::optional<PhoneNumber> next(Random& random);

private:
    std::optional<PhoneNumber> nextAmerican(Random& random);
    std::optional<PhoneNumber> nextGerman(Random& random);
    std::optional<PhoneNumber> nextBritish(Random& random);

    std::int64_t m_americans = 0;
    std::int64_t m_germans = 0;
    std::int64_t m_britons = 0;
};

} // namespace korvane::sample
