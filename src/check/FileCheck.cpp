#include "check/FileCheck.h"

#include "check/Difference.h"
#include "check/ExpectedRecords.h"
#include "export/Record.h"
#include "storage/FileReader.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <vector>

namespace korvane {

namespace {

/// A record in the file whose line differs from that of the database. Only its place is kept: all
/// records of a chat may differ.
struct Suspect {
    std::int64_t rowID = 0;
    std::int64_t offset = 0;
    std::size_t length = 0;
    bool compared = false;
};

/// A record in the file that the chat does not have in the database. Only a hash of its id is kept.
struct Stranger {
    std::size_t idHash = 0;
    bool isForeign = false;
};

bool comesBefore(const Suspect& left, const Suspect& right)
{
    return left.rowID < right.rowID;
}

/// One comparison of a file with the database.
class Comparison {
public:
    explicit Comparison(const FileCheck& check)
        : m_check(check)
        , m_idPrefix("mac:" + check.guid + ":")
    {
    }

    RecordCounts counts()
    {
        m_expected.reserve(m_check.expectedCount);
        m_check.expected(
            [this](std::int64_t rowID, std::string_view line) { m_expected.add(rowID, line); });
        if (m_check.file)
            readFile();
        if (!m_suspects.empty())
            compareSuspects();
        countStrangers();
        countAbsent();
        return m_counts;
    }

private:
    void readFile()
    {
        std::int64_t offset = 0;
        const bool whole = forEachLine(*m_check.file, [&](std::string_view line, bool hasLineFeed) {
            m_check.onLine();
            addLine(line, hasLineFeed, offset);
            offset += static_cast<std::int64_t>(line.size()) + 1;
        });
        if (!whole)
            throw std::runtime_error("The file can't be read.");
    }

    void addLine(std::string_view line, bool hasLineFeed, std::int64_t offset)
    {
        const auto expected = hasLineFeed ? m_expected.withLine(line) : std::nullopt;
        if (expected) {
            addRecord(*expected);
            return;
        }
        const auto record = hasLineFeed ? Record::fromLine(line) : std::nullopt;
        if (record)
            addDiffering(*record, {.offset = offset, .length = line.size()});
        else
            m_counts.torn += 1;
    }

    /// Returns false if the file already has a record with this id.
    bool addRecord(std::size_t expected)
    {
        const bool first = m_expected.take(expected);
        m_counts.records += 1;
        m_counts.doubled += first ? 0 : 1;
        return first;
    }

    void addDiffering(const Record& record, Suspect suspect)
    {
        const auto rowID = rowIDOf(record.id);
        const auto expected = rowID ? m_expected.withRowID(*rowID) : std::nullopt;
        if (!expected) {
            addStranger(record, rowID);
        } else if (addRecord(*expected)) {
            suspect.rowID = *rowID;
            m_suspects.push_back(suspect);
        }
    }

    /// The row id in an id of this chat. Nothing if the id is not written as RecordWriter does.
    std::optional<std::int64_t> rowIDOf(const std::string& id) const
    {
        std::int64_t number = 0;
        if (!id.starts_with(m_idPrefix))
            return std::nullopt;
        std::from_chars(id.data() + m_idPrefix.size(), id.data() + id.size(), number);
        return id == m_idPrefix + std::to_string(number) ? std::optional(number) : std::nullopt;
    }

    /// A record that the chat does not have in the database.
    void addStranger(const Record& record, std::optional<std::int64_t> rowID)
    {
        const bool isForeign = rowID && m_check.isAnother && m_check.isAnother(*rowID, record);
        m_counts.records += 1;
        m_strangers.push_back({std::hash<std::string>()(record.id), isForeign});
    }

    void countStrangers()
    {
        const auto all = static_cast<std::int64_t>(m_strangers.size());
        std::stable_sort(m_strangers.begin(), m_strangers.end(),
            [](const Stranger& one, const Stranger& other) { return one.idHash < other.idHash; });
        const auto rest = std::unique(m_strangers.begin(), m_strangers.end(),
            [](const Stranger& one, const Stranger& other) { return one.idHash == other.idHash; });
        m_strangers.erase(rest, m_strangers.end());
        const auto distinct = static_cast<std::int64_t>(m_strangers.size());
        const auto foreign = std::count_if(m_strangers.begin(), m_strangers.end(),
            [](const Stranger& stranger) { return stranger.isForeign; });
        m_counts.foreign += foreign;
        m_counts.gone += distinct - foreign;
        m_counts.doubled += all - distinct;
    }

    void compareSuspects()
    {
        std::sort(m_suspects.begin(), m_suspects.end(), comesBefore);
        m_check.expected(
            [this](std::int64_t rowID, std::string_view line) { compareWith(rowID, line); });
        m_counts.gone += std::count_if(m_suspects.begin(), m_suspects.end(),
            [](const Suspect& suspect) { return !suspect.compared; }); // deleted meanwhile
    }

    void compareWith(std::int64_t rowID, std::string_view line)
    {
        const auto [first, last] = std::equal_range(
            m_suspects.begin(), m_suspects.end(), Suspect{.rowID = rowID}, comesBefore);
        for (auto suspect = first; suspect != last; ++suspect) {
            if (!suspect->compared)
                count(differenceOf(recordAt(*suspect), parsed(line)));
            suspect->compared = true;
        }
    }

    Record recordAt(const Suspect& suspect) const
    {
        std::string line(suspect.length, '\0');
        const auto size = m_check.file->readAt(suspect.offset, line);
        return parsed(std::string_view(line).substr(0, size.value_or(0)));
    }

    static Record parsed(std::string_view line)
    {
        if (auto record = Record::fromLine(line))
            return std::move(*record);
        throw std::runtime_error("The file changed while it was being checked.");
    }

    void count(Difference difference)
    {
        m_counts.renamed += difference == Difference::Renamed ? 1 : 0;
        m_counts.changed += difference == Difference::Changed ? 1 : 0;
        m_counts.foreign += difference == Difference::Foreign ? 1 : 0;
    }

    void countAbsent()
    {
        const std::int64_t last = m_check.lastRowID.value_or(highestTaken());
        for (std::size_t i = 0; i < m_expected.size(); ++i) {
            if (!m_expected.isTaken(i))
                (m_expected.rowID(i) > last ? m_counts.fresh : m_counts.missing) += 1;
        }
    }

    std::int64_t highestTaken() const
    {
        std::int64_t highest = 0;
        for (std::size_t i = 0; i < m_expected.size(); ++i)
            highest = m_expected.isTaken(i) ? std::max(highest, m_expected.rowID(i)) : highest;
        return highest;
    }

    const FileCheck& m_check;
    const std::string m_idPrefix;
    ExpectedRecords m_expected;
    std::vector<Suspect> m_suspects;
    std::vector<Stranger> m_strangers;
    RecordCounts m_counts;
};

} // namespace

RecordCounts countRecords(const FileCheck& check)
{
    return Comparison(check).counts();
}

} // namespace korvane
