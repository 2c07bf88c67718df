#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane {

/// Finds the records of one file by id. The ids are sorted by their row, and most files have that
/// order already: a hash table would miss the processor's cache for each record of a large chat. Of
/// an id only its row and a hash are kept. Used by one thread at a time.
class IdIndex {
public:
    using Place = std::uint32_t; ///< index of a record in the caller's list

    /// The number after the last colon of an id; 0 if there is none.
    static std::int64_t rowIn(std::string_view id);

    void add(std::string_view id, Place place) { m_keys.push_back(keyOf(id, place)); }

    /// Sorts. Of several records with one id, only the last stays; `drop` is called with the place
    /// of each of the others. Call it once, after the last add() and before the first find().
    template <typename Drop>
    void settle(const Drop& drop)
    {
        if (!std::ranges::is_sorted(m_keys))
            std::ranges::sort(m_keys);
        for (std::size_t i = m_keys.size(); i-- > 1;) {
            if (m_keys[i - 1].hasIdOf(m_keys[i]))
                drop(std::exchange(m_keys[i - 1].place, m_keys[i].place));
        }
        const auto same = [](const Key& one, const Key& other) { return one.hasIdOf(other); };
        m_keys.erase(std::unique(m_keys.begin(), m_keys.end(), same), m_keys.end());
    }

    std::optional<Place> find(std::string_view id) const;

    /// Changes the place of each record to `newPlace(place)`.
    template <typename NewPlace>
    void move(const NewPlace& newPlace)
    {
        for (Key& key : m_keys)
            key.place = newPlace(key.place);
    }

private:
    struct Key {
        std::int64_t row = 0;
        std::size_t idHash = 0;
        Place place = 0;

        auto operator<=>(const Key&) const = default;
        bool hasIdOf(const Key& other) const { return row == other.row && idHash == other.idHash; }
    };

    static Key keyOf(std::string_view id, Place place)
    {
        return {rowIn(id), std::hash<std::string_view>()(id), place};
    }

    std::vector<Key> m_keys;
};

} // namespace korvane
