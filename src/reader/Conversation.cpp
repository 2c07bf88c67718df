#include "reader/Conversation.h"

#include "export/DateText.h"
#include "reader/InputFile.h"
#include "reader/RecordLine.h"
#include "text/Ascii.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <tuple>

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

/// The number after the last colon of an id; 0 if there is none.
std::int64_t rowIn(std::string_view id)
{
    std::int64_t row = 0;
    const std::string_view digits = id.substr(id.rfind(':') + 1); // npos + 1 is 0
    const char* const end = digits.data() + digits.size();
    const auto [last, error] = std::from_chars(digits.data(), end, row);
    return error == std::errc() && last == end ? row : 0;
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

/// What is needed of a record to tell it from others and to put it in order. Texts are escaped.
struct Entry {
    std::string_view json;
    std::string_view date;
    std::string_view id;
    std::string_view senderID;
    std::string_view reference; ///< reactionTargetID or replyToID; "" if it has none
    std::int64_t row = 0;
    std::uint32_t file = 0;
    MessageKind kind = MessageKind::Message;

    bool isSameMessage(const Entry& other) const
    {
        return id == other.id && date == other.date && senderID == other.senderID;
    }

    /// Dates have one form, so their order is that of their characters.
    bool comesBefore(const Entry& other) const
    {
        return std::tie(date, row) < std::tie(other.date, other.row);
    }
};

Entry entryOf(const RecordLine& record, std::string_view json, std::uint32_t file)
{
    const MessageKind kind = kindOf(record.recordKind);
    return {
        .json = json,
        .date = record.date,
        .id = record.id,
        .senderID = record.senderID.value_or(""),
        .reference = record.reactionTargetID.value_or(record.replyToID.value_or("")),
        .row = rowIn(record.id),
        .file = file,
        .kind = kind,
    };
}

/// Entries by id. The records of one file have different ids.
using Index = std::unordered_map<std::string_view, std::uint32_t>;

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
        if (const auto text = wholeText(file, report.error)) {
            m_indexes.emplace_back();
            m_first = m_entries.size();
            addLines(*text, report);
            if (m_indexes.size() > 1)
                removeKnown();
        } else {
            m_indexes.emplace_back();
        }
        m_reports.push_back(std::move(report));
        return m_goesOn;
    }

    std::vector<Message> messages() const
    {
        const std::vector<std::uint32_t> order = sorted();
        std::vector<std::uint32_t> places(m_entries.size());
        for (std::size_t i = 0; i < order.size(); ++i)
            places[order[i]] = static_cast<std::uint32_t>(i);
        std::vector<Message> messages;
        messages.reserve(order.size());
        for (const std::uint32_t index : order) {
            messages.push_back(messageOf(m_entries[index]));
            if (const auto target = targetOf(m_entries[index]); target && *target != index)
                messages.back().target = places[*target];
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
        const auto file = static_cast<std::uint32_t>(m_reports.size());
        const Entry entry = entryOf(record, line, file);
        report.records += 1;
        const auto next = static_cast<std::uint32_t>(m_entries.size());
        const auto [known, isNew] = m_indexes.back().try_emplace(entry.id, next);
        if (isNew) {
            m_entries.push_back(entry);
        } else {
            m_entries[known->second] = entry;
            report.repeated += 1;
        }
    }

    /// Removes the records of the last file that an earlier file has, too. Its index then refers to
    /// those.
    void removeKnown()
    {
        std::size_t kept = m_first;
        for (std::size_t i = m_first; i < m_entries.size(); ++i) {
            std::uint32_t& place = m_indexes.back().at(m_entries[i].id);
            if (const auto same = sameInEarlierFile(m_entries[i])) {
                place = *same;
            } else {
                place = static_cast<std::uint32_t>(kept);
                m_entries[kept++] = m_entries[i];
            }
        }
        m_entries.resize(kept);
    }

    std::optional<std::uint32_t> sameInEarlierFile(const Entry& entry) const
    {
        for (std::size_t file = 0; file + 1 < m_indexes.size(); ++file) {
            const auto found = m_indexes[file].find(entry.id);
            if (found != m_indexes[file].end() && m_entries[found->second].isSameMessage(entry))
                return found->second;
        }
        return std::nullopt;
    }

    /// Indexes of the entries in the order of their messages.
    std::vector<std::uint32_t> sorted() const
    {
        std::vector<std::uint32_t> order(m_entries.size());
        std::iota(order.begin(), order.end(), 0U);
        const auto before = [this](std::uint32_t one, std::uint32_t other) {
            return m_entries[one].comesBefore(m_entries[other]);
        };
        if (!std::ranges::is_sorted(order, before))
            std::ranges::stable_sort(order, before);
        return order;
    }

    /// The entry that a reference means: in the same file, or else in the first one that has it.
    std::optional<std::uint32_t> targetOf(const Entry& entry) const
    {
        if (entry.reference.empty())
            return std::nullopt;
        const auto own = m_indexes[entry.file].find(entry.reference);
        if (own != m_indexes[entry.file].end())
            return own->second;
        for (const Index& index : m_indexes) {
            const auto found = index.find(entry.reference);
            if (found != index.end())
                return found->second;
        }
        return std::nullopt;
    }

    static Message messageOf(const Entry& entry)
    {
        return {.json = entry.json,
            .time = timeIn(entry.date),
            .row = entry.row,
            .file = entry.file,
            .kind = entry.kind};
    }

    const ReadProgress& m_progress;
    std::deque<std::string>& m_text;
    std::vector<Entry> m_entries;
    std::vector<Index> m_indexes; ///< by file
    std::vector<FileReport> m_reports;
    std::size_t m_first = 0; ///< the first entry of the file that is being read
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
