#include "sample/PhoneNumbers.h"

#include <iterator>
#include <numeric>
#include <string_view>

namespace korvane::sample {

namespace {

constexpr std::string_view areaCodes[] = {"201", "202", "203", "205", "206", "207", "208", "209",
    "210", "212", "213", "214", "215", "216", "217", "218", "219", "224", "225", "228", "229",
    "231", "234", "239", "240", "248", "251", "252", "253", "254", "256", "260", "262", "267",
    "269", "270", "276", "281", "301", "302", "303", "304", "305", "307", "308", "309", "310",
    "312", "313", "314", "315", "316", "317", "318", "319", "320", "321", "323", "330", "334",
    "336", "337", "339", "347", "351", "352", "360", "361", "386", "401", "402", "404", "405",
    "406", "407", "408", "409", "410", "412", "413", "414", "415", "417", "419", "423", "424"};
constexpr std::string_view germanBlocks[] = {"3023125", "4066969", "6990009", "8999998"};
constexpr std::string_view britishBlock = "7700900";

constexpr std::int64_t linesPerArea = 100;
constexpr std::int64_t linesPerBlock = 1000;
constexpr auto areaCount = static_cast<std::int64_t>(std::size(areaCodes));
constexpr auto germanBlockCount = static_cast<std::int64_t>(std::size(germanBlocks));
constexpr int perThousandInNationalForm = 90;

constexpr std::int64_t areaStride = 29;
constexpr std::int64_t lineStride = 37;
static_assert(std::gcd(areaStride, areaCount) == 1, "the stride must reach every area");
static_assert(std::gcd(lineStride, linesPerArea) == 1, "the stride must reach every line");
static_assert(std::gcd(lineStride, linesPerBlock) == 1, "the stride must reach every line");

std::string zeroPadded(std::int64_t number, std::size_t width)
{
    std::string digits = std::to_string(number);
    return digits.insert(0, width - digits.size(), '0');
}

/// The line to use for the `index`-th number of a block. Reaches each of its `lines` once, but not
/// in ascending order.
std::int64_t lineNumber(std::int64_t index, std::int64_t block, std::int64_t lines)
{
    return (index * lineStride + block * 61 + 17) % lines;
}

std::string typedAmerican(std::string_view area, const std::string& line, Random& random)
{
    const std::string areaCode(area);
    switch (random.below(4)) {
    case 0:
        return "+1 " + areaCode + "-555-" + line;
    case 1:
        return areaCode + ".555." + line;
    default:
        return "(" + areaCode + ") 555-" + line;
    }
}

} // namespace

std::optional<PhoneNumber> PhoneNumbers::next(Random& random)
{
    const std::int64_t draw = random.below(100);
    if (draw < 76)
        return nextAmerican(random);
    return draw < 92 ? nextGerman(random) : nextBritish(random);
}

std::optional<PhoneNumber> PhoneNumbers::nextAmerican(Random& random)
{
    if (m_americanCount == areaCount * linesPerArea)
        return std::nullopt;
    const std::int64_t index = m_americanCount / areaCount;
    const std::int64_t area = (m_americanCount++ * areaStride) % areaCount;
    const std::string_view code = areaCodes[area];
    const std::string line = "01" + zeroPadded(lineNumber(index, area, linesPerArea), 2);
    const bool national = random.chance(perThousandInNationalForm);
    const std::string prefix = national ? "(" : "+1";
    const std::string middle = national ? ") 555-" : "555";
    return PhoneNumber{
        prefix + std::string(code) + middle + line, typedAmerican(code, line, random)};
}

std::optional<PhoneNumber> PhoneNumbers::nextGerman(Random& random)
{
    if (m_germanCount == germanBlockCount * linesPerBlock)
        return std::nullopt;
    const std::int64_t block = m_germanCount % germanBlockCount;
    const std::int64_t index = m_germanCount++ / germanBlockCount;
    const std::string number(germanBlocks[block]);
    const std::string line = zeroPadded(lineNumber(index, block, linesPerBlock), 3);
    const bool national = random.chance(perThousandInNationalForm);
    const std::string typed = number.substr(0, 2) + " " + number.substr(2) + " " + line;
    return PhoneNumber{
        (national ? "0" : "+49") + number + line, (random.chance(500) ? "0" : "+49 ") + typed};
}

std::optional<PhoneNumber> PhoneNumbers::nextBritish(Random& random)
{
    if (m_britishCount == linesPerBlock)
        return std::nullopt;
    const std::string line = zeroPadded(lineNumber(m_britishCount++, 0, linesPerBlock), 3);
    const bool national = random.chance(perThousandInNationalForm);
    return PhoneNumber{(national ? "0" : "+44") + std::string(britishBlock) + line,
        "0" + std::string(britishBlock.substr(0, 4)) + " " + std::string(britishBlock.substr(4))
            + line};
}

} // namespace korvane::sample
