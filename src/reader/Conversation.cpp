#include "reader/Conversation.h"

#include "export/DateText.h"
#include "reader/IdIndex.h"
#include "reader/InputFile.h"
#include "reader/RecordLine.h"
#include "reader/Twins.h"
#include "text/Ascii.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <tuple>
#include <utility>

namespace korvane {

namespace {

constexpr std::int64_t progressStep = std::int64_t{1} << 20U;

MessageKind kindOf(const std::optional<std::string_view>& recordKind)
{
    if (recordKind == "reaction")
        return MessageKind::Reaction;
    if (recordKind == "reaction-removal")
        return MessageKind::ReactionRemoval;
    return recordKind == "system" ? MessageKind::System : MessageKind::Message;
}

/// Milliseconds since 1970; see Message::hasTime(). DateText::read() takes any two digits for an
/// hour, a minute and a second.
std::int64_t timeIn(std::string_view date)
{
    const auto seconds = DateText::read(date);
    if (!seconds || date.substr(11, 2) > "23" || date[14] > '5' || date[17] > '5')
        return date.starts_with('-') ? std::numeric_limits<std::int64_t>::min()
                                     : std::numeric_limits<std::int64_t>::max();
    return std::llround(seconds->count() * 1000) + referenceDateUnixSeconds * 1000;
}

/// A record on its way into the conversation.
struct Entry {
    Message message;
    std::string_view reference; ///< reactionTargetID or replyToID, escaped; "" if it has none

    RecordLine record() const { return RecordLine::from(message.json).value(); }

    /// Dates have one form, so their order is that of their characters, and that of the times.
    bool comesBefore(const Entry& other) const
    {
        if (!message.hasTime() || !other.message.hasTime()) {
            const auto order = record().date <=> other.record().date;
            return order < 0 || (order == 0 && message.row < other.message.row);
        }
        return std::tie(message.time, message.row)
            < std::tie(other.message.time, other.message.row);
    }
};

bool areSameMessage(const RecordLine& one, const RecordLine& other)
{
    return one.id == other.id && one.date == other.date && one.senderID == other.senderID;
}

Entry entryOf(const RecordLine& record, std::string_view json, std::size_t file)
{
    return {
        .message = {.json = json,
            .time = timeIn(record.date),
            .row = IdIndex::rowIn(record.id),
            .file = static_cast<std::uint32_t>(file),
            .kind = kindOf(record.recordKind)},
        .reference = record.reactionTargetID.value_or(record.replyToID.value_or("")),
    };
}

using Place = IdIndex::Place;

/// Reads the files of one chat, one after the other.
class Loader {
public:
    Loader(const ReadProgress& progress, std::deque<std::string>& text)
        : m_progress(progress)
        , m_text(text)
    {
    }

    /// Returns false if the reading was ended.
    bool read(const ArchiveFile& file)
    {
        FileReport report{.path = file.path, .isKept = file.isKept};
        const std::size_t first = m_entries.size();
        m_indexes.emplace_back();
        if (const auto* const text = wholeText(file, report.error)) {
            addLines(*text, report);
            settle(first, report);
        }
        m_reports.push_back(std::move(report));
        return m_goesOn;
    }

    std::vector<Message> messages() const
    {
        const std::vector<Place> order = sorted();
        std::vector<Place> newPlaces(m_entries.size());
        for (std::size_t i = 0; i < order.size(); ++i)
            newPlaces[order[i]] = static_cast<Place>(i);
        std::vector<Message> messages;
        messages.reserve(order.size());
        for (const Place place : order) {
            messages.push_back(m_entries[place].message);
            if (const auto target = targetOf(m_entries[place]); target && *target != place)
                messages.back().target = newPlaces[*target];
        }
        return messages;
    }

    std::vector<FileReport> takeReports() { return std::move(m_reports); }

private:
    const std::string* wholeText(const ArchiveFile& file, std::string& error)
    {
        const InputFile input = InputFile::open(file.path);
        error = input.error;
        if (!input.reader)
            return nullptr;
        std::string& text = m_text.emplace_back();
        text.resize(static_cast<std::size_t>(input.reader->size()));
        const auto size = input.reader->readAt(0, text);
        if (!size)
            error = "It could not be read to its end.";
        text.resize(size.value_or(0));
        return size ? &text : nullptr;
    }

    void addLines(std::string_view rest, FileReport& report)
    {
        constexpr std::size_t shortRecord = 256; // bytes
        m_entries.reserve(m_entries.size() + rest.size() / shortRecord);
        std::int64_t reported = 0;
        while (!rest.empty() && m_goesOn) {
            const std::size_t end = rest.find('\n');
            addLine(rest.substr(0, end), end != rest.npos, report);
            const std::size_t length = std::min(end, rest.size() - 1) + 1;
            rest.remove_prefix(length);
            reported += static_cast<std::int64_t>(length);
            if (reported >= progressStep || rest.empty())
                m_goesOn = !m_progress || m_progress(std::exchange(reported, 0));
        }
    }

    void addLine(std::string_view line, bool hasLineFeed, FileReport& report)
    {
        if (const auto record = RecordLine::from(line))
            return add(*record, line, report);
        if (line.find_first_not_of(" \t\r") == line.npos)
            return;
        if (const auto record = Record::fromLine(line))
            return add(*record, report);
        Record::forEachInLine(line, [&](const Record& record) { add(record, report); });
        report.torn += hasLineFeed ? 1 : 0;
        report.endsUnfinished = !hasLineFeed;
    }

    /// A record that has another form than an export writes.
    void add(const Record& record, FileReport& report)
    {
        const std::string& line = m_text.emplace_back(lineOf(record));
        if (const auto found = RecordLine::from(line))
            add(*found, line, report);
    }

    void add(const RecordLine& record, std::string_view line, FileReport& report)
    {
        report.records += 1;
        m_entries.push_back(entryOf(record, line, m_reports.size()));
        m_indexes.back().add(record.id, static_cast<Place>(m_entries.size() - 1));
    }

    /// Removes from the entries of the last file, which begin at `first`, those that a later one
    /// replaces and those that an earlier file has, too, under this id or another one.
    void settle(std::size_t first, FileReport& report)
    {
        std::vector<bool> isDropped(m_entries.size() - first, false);
        bool dropsAny = false;
        const auto drop = [&](Place place) { isDropped[place - first] = dropsAny = true; };
        m_indexes.back().settle([&](Place place) {
            drop(place);
            report.repeated += 1;
        });
        if (first > 0)
            dropKnown(first, drop);
        if (dropsAny)
            compact(first, isDropped);
    }

    /// Calls `drop` with the place of each entry of the last file, which begin at `first`, that an
    /// earlier file has under the same id or, of the rest, under another one. Its index then leads
    /// to the earlier entry.
    template <typename Drop>
    void dropKnown(std::size_t first, const Drop& drop)
    {
        std::vector<bool> isFound(first, false);
        const auto replaced = [&](Place place, const std::optional<Place>& earlier) {
            if (!earlier)
                return place;
            drop(place);
            isFound[*earlier] = true;
            return *earlier;
        };
        m_indexes.back().move(
            [&](Place place) { return replaced(place, sameInEarlierFile(m_entries[place])); });
        Twins twins = twinsOf(isFound);
        m_indexes.back().move([&](Place place) {
            return place < first ? place : replaced(place, twins.take(m_entries[place].record()));
        });
    }

    void compact(std::size_t first, const std::vector<bool>& isDropped)
    {
        std::vector<Place> newPlaces(isDropped.size());
        std::size_t next = first;
        for (std::size_t i = 0; i < isDropped.size(); ++i) {
            newPlaces[i] = static_cast<Place>(next);
            if (!isDropped[i])
                m_entries[next++] = m_entries[first + i];
        }
        m_entries.resize(next);
        m_indexes.back().move(
            [&](Place place) { return place < first ? place : newPlaces[place - first]; });
    }

    std::optional<Place> sameInEarlierFile(const Entry& entry) const
    {
        const RecordLine record = entry.record();
        for (std::size_t file = 0; file + 1 < m_indexes.size(); ++file) {
            const auto found = m_indexes[file].find(record.id);
            if (found && areSameMessage(m_entries[*found].record(), record))
                return found;
        }
        return std::nullopt;
    }

    /// The records of earlier files that are not found in the last one.
    Twins twinsOf(const std::vector<bool>& isFound) const
    {
        Twins twins([this](Place place) { return m_entries[place].record(); });
        for (std::size_t place = isFound.size(); place-- > 0;) {
            if (!isFound[place])
                twins.add(static_cast<Place>(place));
        }
        return twins;
    }

    /// The places of the entries in the order of their messages.
    std::vector<Place> sorted() const
    {
        std::vector<Place> order(m_entries.size());
        std::iota(order.begin(), order.end(), Place{0});
        const auto before = [this](Place one, Place other) {
            return m_entries[one].comesBefore(m_entries[other]);
        };
        if (!std::ranges::is_sorted(order, before))
            std::ranges::stable_sort(order, before);
        return order;
    }

    /// The entry that a reference means: in the same file, or else in the first one that has it.
    std::optional<Place> targetOf(const Entry& entry) const
    {
        if (entry.reference.empty())
            return std::nullopt;
        if (const auto own = m_indexes[entry.message.file].find(entry.reference))
            return own;
        for (const IdIndex& index : m_indexes) {
            if (const auto found = index.find(entry.reference))
                return found;
        }
        return std::nullopt;
    }

    const ReadProgress& m_progress;
    std::deque<std::string>& m_text;
    std::vector<Entry> m_entries;
    std::vector<IdIndex> m_indexes; ///< by file
    std::vector<FileReport> m_reports;
    bool m_goesOn = true;
};

} // namespace

bool Message::hasTime() const
{
    return time != std::numeric_limits<std::int64_t>::min()
        && time != std::numeric_limits<std::int64_t>::max();
}

Conversation::Conversation(const ArchivedChat& chat, const ReadProgress& progress) : m_chat(chat)
{
    Loader loader(progress, m_text);
    for (const ArchiveFile& file : chat.files) {
        if (!loader.read(file))
            break;
    }
    m_messages = loader.messages();
    m_files = loader.takeReports();
}

Record Conversation::record(std::size_t index) const
{
    return RecordLine::from(m_messages.at(index).json).value().record();
}

std::string_view Conversation::escapedSender(std::size_t index) const
{
    return RecordLine::from(m_messages.at(index).json).value().sender;
}

} // namespace korvane
