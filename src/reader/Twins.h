#pragma once

#include "reader/IdIndex.h"
#include "reader/RecordLine.h"

#include <functional>
#include <optional>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace korvane {

/// Finds records of the same message that have different ids: a new Mac or a restored database
/// gives every message another row id. They have the same date, sender, direction, kind, text and
/// attachments. A user can send the same text twice in one millisecond, so each record is taken
/// only once. Used by one thread at a time.
class Twins {
public:
    using Place = IdIndex::Place;

    /// `recordAt` returns the record at a place that was added.
    explicit Twins(std::function<RecordLine(Place)> recordAt) : m_recordAt(std::move(recordAt)) { }

    void add(Place place) { m_places[hashOf(m_recordAt(place))].push_back(place); }

    /// Takes the record that was added last, of those that are the same message.
    std::optional<Place> take(const RecordLine& record)
    {
        const auto found = m_places.find(hashOf(record));
        if (found == m_places.end() || found->second.empty())
            return std::nullopt;
        const Place place = found->second.back();
        if (!haveSameContent(m_recordAt(place), record))
            return std::nullopt; // two contents with one hash
        found->second.pop_back();
        return place;
    }

private:
    static bool haveSameContent(const RecordLine& one, const RecordLine& other)
    {
        const auto content = [](const RecordLine& record) {
            return std::tuple(record.date, record.senderID, record.isOutgoing, record.recordKind,
                record.reactionKind, record.body, record.attachmentCount, record.photoCount);
        };
        return content(one) == content(other);
    }

    static std::size_t hashOf(const RecordLine& record)
    {
        const std::hash<std::string_view> hash;
        constexpr std::size_t odd = 31;
        return (hash(record.date) * odd + hash(record.body)) * odd
            + hash(record.senderID.value_or(""));
    }

    std::function<RecordLine(Place)> m_recordAt;
    std::unordered_map<std::size_t, std::vector<Place>> m_places;
};

} // namespace korvane
