#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace korvane {

/// The records that the database has for one chat: of each only the row id, a hash of its line, and
/// whether the file has it. At most 32 bytes per record, so that a chat of any size can be compared
/// with its file. Used by one thread at a time.
class ExpectedRecords {
public:
    void reserve(std::size_t count);

    /// Adds a record in the order of the database. Not after the first withLine() or withRowID().
    void add(std::int64_t rowID, std::string_view line);

    /// The index of the record that has exactly this line; the one after the last result is tried
    /// first, because a file mostly has the order of the database. If the database has a record
    /// twice: one that is not taken, if possible.
    std::optional<std::size_t> withLine(std::string_view line);

    /// The same by row id.
    std::optional<std::size_t> withRowID(std::int64_t rowID);

    /// Notes that the file has the record. Returns false if that was noted before.
    bool take(std::size_t index);

    std::int64_t rowID(std::size_t index) const { return m_entries[index].rowID; }
    bool isTaken(std::size_t index) const { return m_taken[index]; }
    std::size_t size() const { return m_entries.size(); }

private:
    struct Entry {
        std::int64_t rowID = 0;
        std::size_t hash = 0;
    };
    using Index = std::vector<std::uint32_t>; ///< positions in m_entries, sorted

    template <typename Value>
    std::optional<std::size_t> find(Index& index, Value Entry::*member, Value value);

    std::vector<Entry> m_entries;
    std::vector<bool> m_taken;
    std::size_t m_next = 0;
    Index m_byHash; ///< empty until it is needed, as m_byRowID
    Index m_byRowID;
};

} // namespace korvane
