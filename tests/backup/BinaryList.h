#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// Writes binary property lists, also such as no program writes: object by object, in which others
/// are referred to by their number. References have two bytes.
class BinaryList {
public:
    using Number = std::uint64_t; ///< of an object, from 0

    /// Adds an object as it is written, and returns its number.
    Number add(std::string object)
    {
        m_objects.push_back(std::move(object));
        return m_objects.size() - 1;
    }

    Number text(const std::string& text) { return add(head(0x50, text.size()) + text); }
    Number data(const std::string& bytes) { return add(head(0x40, bytes.size()) + bytes); }
    Number integer(std::uint64_t value) { return add('\x13' + bigEndian(value, 8)); }
    Number reference(std::uint64_t object) { return add('\x81' + bigEndian(object, 2)); }
    Number array(const std::vector<Number>& items) { return add(arrayOf(items)); }

    Number dictionary(const std::vector<std::pair<std::string, Number>>& items)
    {
        std::string keys;
        std::string values;
        for (const auto& [key, value] : items) {
            keys += bigEndian(text(key), 2);
            values += bigEndian(value, 2);
        }
        return add(head(0xD0, items.size()) + keys + values);
    }

    static std::string arrayOf(const std::vector<Number>& items)
    {
        std::string object = head(0xA0, items.size());
        for (const Number item : items)
            object += bigEndian(item, 2);
        return object;
    }

    /// The list whose topmost object is this one.
    std::string bytes(Number top) const
    {
        std::string bytes = "bplist00";
        std::string offsets;
        for (const std::string& object : m_objects) {
            offsets += bigEndian(bytes.size(), 4);
            bytes += object;
        }
        const std::uint64_t table = bytes.size();
        return bytes + offsets + std::string(6, '\0') + '\4' + '\2' + bigEndian(m_objects.size(), 8)
            + bigEndian(top, 8) + bigEndian(table, 8);
    }

    static std::string bigEndian(std::uint64_t value, int bytes)
    {
        std::string text;
        for (int i = bytes - 1; i >= 0; --i)
            text += static_cast<char>(value >> (8 * i) & 255U);
        return text;
    }

private:
    static std::string head(unsigned type, std::size_t count)
    {
        constexpr std::size_t longer = 15;
        std::string head(1, static_cast<char>(type | (count < longer ? count : longer)));
        return count < longer ? head : head + '\x12' + bigEndian(count, 4);
    }

    std::vector<std::string> m_objects;
};

} // namespace korvane
