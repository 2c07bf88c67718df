#include "backup/PropertyListLimits.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace korvane {

namespace {

constexpr std::size_t mostBytes = std::size_t(32) << 20;
constexpr std::size_t mostContents = std::size_t(64) << 20;
constexpr std::size_t mostValues = 200'000;
constexpr int mostLevels = 64;
constexpr std::size_t mostContainersInXml = 20'000;

/// Visits the whole tree of a binary property list, with every repetition, until a limit is
/// exceeded or something does not fit in the file.
///
/// The file is a header of 8 bytes, the objects, a table of their offsets and a trailer: 6 unused
/// bytes, the size of an offset, the size of a reference to an object (a byte each), then the
/// number of objects, the topmost object and the table's offset (8 bytes each). An object begins
/// with its type in four bits and its size in four more, where 15 means that an integer object with
/// the size follows. All numbers are big-endian.
class BinaryTree {
public:
    explicit BinaryTree(std::string_view bytes) : m_bytes(bytes) { }

    bool isModest()
    {
        if (!readTrailer())
            return false;
        push(m_top, 0);
        while (!m_open.empty()) {
            const Node node = m_open.back();
            m_open.pop_back();
            if (!visit(node))
                return false;
        }
        return true;
    }

private:
    struct Node {
        std::uint64_t object;
        int level;
    };

    static constexpr std::size_t trailerSize = 32;

    bool readTrailer()
    {
        if (m_bytes.size() < trailerSize)
            return false;
        const std::size_t trailer = m_bytes.size() - trailerSize;
        m_offsetSize = byte(trailer + 6);
        m_referenceSize = byte(trailer + 7);
        m_objects = *number(trailer + 8, 8);
        m_top = *number(trailer + 16, 8);
        m_table = *number(trailer + 24, 8);
        return m_offsetSize >= 1 && m_offsetSize <= 8 && m_referenceSize >= 1
            && m_referenceSize <= 8 && m_table <= trailer
            && m_objects <= (trailer - m_table) / m_offsetSize;
    }

    std::uint8_t byte(std::size_t offset) const
    {
        return static_cast<std::uint8_t>(m_bytes[offset]);
    }

    std::optional<std::uint64_t> number(std::uint64_t offset, std::size_t size) const
    {
        if (offset > m_bytes.size() || size > m_bytes.size() - offset)
            return std::nullopt;
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i)
            value = value << 8 | byte(offset + i);
        return value;
    }

    /// False if there are more values than allowed, counting those that wait for their visit.
    bool push(std::uint64_t object, int level)
    {
        m_open.push_back({object, level});
        return ++m_values <= mostValues;
    }

    bool visit(const Node& node)
    {
        if (node.object >= m_objects || node.level > mostLevels)
            return false;
        const auto offset = number(m_table + node.object * m_offsetSize, m_offsetSize);
        const auto marker = offset ? number(*offset, 1) : std::nullopt;
        return marker && visitObject(*offset + 1, static_cast<unsigned>(*marker), node.level);
    }

    bool visitObject(std::uint64_t offset, unsigned marker, int level)
    {
        const unsigned type = marker >> 4;
        const bool hasCount = type >= 4 && type != 8;
        if (!hasCount)
            return true; // a value of at most 16 bytes
        std::uint64_t count = marker & 15U;
        if (count == 15) {
            const auto size = number(offset, 1);
            if (!size || (*size & 15U) > 3)
                return false;
            const std::size_t length = std::size_t(1) << (*size & 15U);
            const auto written = number(offset + 1, length);
            if (!written)
                return false;
            count = *written;
            offset += 1 + length;
        }
        return visitContents(type, offset, count, level);
    }

    bool visitContents(unsigned type, std::uint64_t offset, std::uint64_t count, int level)
    {
        constexpr unsigned utf16 = 6;
        constexpr unsigned firstContainer = 10;
        constexpr unsigned dictionary = 13;
        if (count > m_bytes.size())
            return false;
        if (type >= firstContainer)
            return visitItems(offset, type == dictionary ? 2 * count : count, level);
        m_contents += type == utf16 ? 3 * count : count; // as UTF-8
        return m_contents <= mostContents;
    }

    bool visitItems(std::uint64_t offset, std::uint64_t count, int level)
    {
        for (std::uint64_t i = 0; i < count; ++i) {
            const auto item = number(offset + i * m_referenceSize, m_referenceSize);
            if (!item || !push(*item, level + 1))
                return false;
        }
        return true;
    }

    const std::string_view m_bytes;
    std::size_t m_offsetSize = 0;
    std::size_t m_referenceSize = 0;
    std::uint64_t m_objects = 0;
    std::uint64_t m_top = 0;
    std::uint64_t m_table = 0;
    std::vector<Node> m_open; ///< to be visited
    std::size_t m_values = 0;
    std::uint64_t m_contents = 0;
};

std::size_t countOf(std::string_view what, std::string_view text)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != text.npos; at = text.find(what, at + 1))
        ++count;
    return count;
}

} // namespace

bool isBinaryPropertyList(std::string_view bytes)
{
    return bytes.starts_with("bplist");
}

bool isModest(std::string_view bytes)
{
    if (bytes.size() > mostBytes)
        return false;
    if (isBinaryPropertyList(bytes))
        return BinaryTree(bytes).isModest();
    // How deeply they are nested depends on comments and quotes; how many there are does not.
    return countOf("<dict", bytes) + countOf("<array", bytes) <= mostContainersInXml;
}

} // namespace korvane
