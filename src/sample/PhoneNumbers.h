#pragma once

#include "sample/Random.h"

#include <cstdint>
#include <optional>
#include <string>

namespace korvane::sample {

/// One number in two forms that end in the same ten digits.
struct PhoneNumber {
    std::string handle; ///< As the network reports it to Messages.
    std::string typed; ///< As a user typed it into the address book.
};

/// Generates phone numbers, each once. All are in blocks reserved for fiction: 555-0100 to 555-0199
/// in each American area, and blocks of a thousand numbers in Germany and Great Britain.
class PhoneNumbers {
public:
    /// Draws a country; empty if that country has no numbers left.
    std::optional<PhoneNumber> next(Random& random);

private:
    std::optional<PhoneNumber> nextAmerican(Random& random);
    std::optional<PhoneNumber> nextGerman(Random& random);
    std::optional<PhoneNumber> nextBritish(Random& random);

    std::int64_t m_americanCount = 0;
    std::int64_t m_germanCount = 0;
    std::int64_t m_britishCount = 0;
};

} // namespace korvane::sample
