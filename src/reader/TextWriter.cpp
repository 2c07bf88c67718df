#include "reader/TextWriter.h"

#include "export/KeptText.h"
#include "reader/Conversation.h"
#include "reader/RecordText.h"
#include "text/TerminalText.h"

#include <QDate>
#include <QLocale>

#include <algorithm>
#include <array>
#include <ctime>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

namespace {

constexpr int timeWidth = 5; // "12:34"
constexpr int gap = 2;
constexpr int widestName = 20;
constexpr int narrowestText = 16;
constexpr int longestQuote = 50;

/// Within this time, a sender's name is not repeated.
constexpr std::int64_t pause = std::int64_t{15} * 60 * 1000;

/// Escape sequences of a terminal.
namespace Style {
constexpr std::string_view bold = "\x1B[1m";
constexpr std::string_view dim = "\x1B[2m";
constexpr std::string_view reset = "\x1B[0m";
constexpr std::array<std::string_view, 6> people = {"\x1B[36m", "\x1B[33m", "\x1B[35m", "\x1B[32m",
    "\x1B[34m", "\x1B[31m"}; // cyan, yellow, magenta, green, blue, red
} // namespace Style

std::string blanks(int count)
{
    return std::string(static_cast<std::size_t>(std::max(count, 0)), ' ');
}

std::tm localTime(std::int64_t milliseconds)
{
    const auto seconds = static_cast<std::time_t>(
        milliseconds >= 0 ? milliseconds / 1000 : (milliseconds - 999) / 1000);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    return local;
}

std::string clockOf(const std::tm& time)
{
    const auto twoDigits
        = [](int number) { return std::string(number < 10 ? "0" : "") + std::to_string(number); };
    return twoDigits(time.tm_hour) + ':' + twoDigits(time.tm_min);
}

/// "Monday, 6 May 2024". `form` is one of QLocale.
std::string dayText(const std::tm& day, const QString& form)
{
    const QLocale english(QLocale::English, QLocale::UnitedKingdom);
    const QDate date(day.tm_year + 1900, day.tm_mon + 1, day.tm_mday);
    return english.toString(date, form).toStdString();
}

/// Writes the chosen records of one conversation.
class ChatText {
public:
    ChatText(std::ostream& out, const TextStyle& style, const Conversation& conversation,
        const Selection& chosen)
        : m_out(out)
        , m_style(style)
        , m_conversation(conversation)
        , m_chosen(chosen)
        , m_reactions(conversation)
        , m_isChosen(conversation.messages().size(), false)
    {
        for (const std::uint32_t index : chosen)
            m_isChosen[index] = true;
        m_nameWidth = widthOfNames();
        m_indent = timeWidth + gap + m_nameWidth + gap;
        m_textWidth = std::max(style.columns - m_indent, narrowestText);
    }

    void write()
    {
        writeTitle();
        for (const std::uint32_t index : m_chosen) {
            if (!isBelowItsMessage(index))
                writeMessage(index);
            if (!m_out)
                return; // nobody reads it, or the disk is full
        }
    }

private:
    /// A reaction to a reaction is not: it has a line of its own.
    bool isBelowItsMessage(std::uint32_t index) const
    {
        const auto& messages = m_conversation.messages();
        const Message& message = messages[index];
        return message.isReaction() && message.target != Message::none && m_isChosen[message.target]
            && !messages[message.target].isReaction();
    }

    int widthOfNames() const
    {
        int width = 0;
        std::string_view previous;
        for (const std::uint32_t index : m_chosen) {
            const auto sender = m_conversation.escapedSender(index);
            if (std::exchange(previous, sender) != sender)
                width = std::max(width, displayWidth(printable(sender)));
        }
        return std::min({width, widestName, std::max(m_style.columns / 4, 4)});
    }

    std::string styled(std::string_view style, const std::string& text) const
    {
        if (!m_style.colours || style.empty() || text.empty())
            return text;
        return std::string(style) + text + std::string(Style::reset);
    }

    void writeTitle()
    {
        const ArchivedChat& chat = m_conversation.chat();
        const std::string title = printable(chat.title.empty() ? chat.guid : chat.title);
        for (const std::string& line : wrapped(title, std::max(m_style.columns, 1)))
            m_out << styled(Style::bold, line) << '\n';
        m_out << styled(Style::dim, summary()) << '\n';
    }

    /// "1,204 messages and 37 reactions, 3 May 2019 to 2 November 2026". System lines are not
    /// counted, nor are reactions that were removed, as on the page.
    std::string summary() const
    {
        const auto messages = std::ranges::count(m_chosen, MessageKind::Message,
            [this](std::uint32_t index) { return m_conversation.messages()[index].kind; });
        const std::int64_t reactions = standingReactions();
        std::string text = countOf(messages, "message");
        if (reactions > 0)
            text += " and " + countOf(reactions, "reaction");
        const std::string first = dateOf(m_chosen.front());
        const std::string last = dateOf(m_chosen.back());
        if (!first.empty() && !last.empty())
            text += ", " + (first == last ? first : first + " to " + last);
        return text;
    }

    /// How many of the chosen reactions stand at a chosen record.
    std::int64_t standingReactions() const
    {
        std::int64_t count = 0;
        for (const std::uint32_t index : m_chosen) {
            if (!m_conversation.messages()[index].isReaction())
                count += std::ranges::count_if(m_reactions.to(index),
                    [this](std::uint32_t reaction) { return m_isChosen[reaction]; });
        }
        return count;
    }

    std::string dateOf(std::uint32_t index) const
    {
        const Message& message = m_conversation.messages()[index];
        return message.hasTime() ? dayText(localTime(message.time), QStringLiteral("d MMMM yyyy"))
                                 : "";
    }

    void writeMessage(std::uint32_t index)
    {
        const Message& message = m_conversation.messages()[index];
        const std::tm time = message.hasTime() ? localTime(message.time) : std::tm{};
        writeDayOf(message, time);
        const Record record = m_conversation.record(index);
        const std::string clock = message.hasTime() ? clockOf(time) : blanks(timeWidth);
        const bool repeatsName = m_sender == record.sender && message.time - m_time < pause
            && message.kind == MessageKind::Message;
        m_start = styled(Style::dim, clock) + blanks(gap)
            + (repeatsName ? blanks(m_nameWidth) : nameCell(record)) + blanks(gap);
        writeContent(index, record);
        m_sender = message.kind == MessageKind::Message ? record.sender : "\n";
        m_time = message.time;
    }

    void writeDayOf(const Message& message, const std::tm& time)
    {
        const std::pair day(message.hasTime() ? time.tm_year : -10'000, time.tm_yday);
        if (std::exchange(m_day, day) == day)
            return;
        const std::string name = message.hasTime()
            ? dayText(time, QStringLiteral("dddd, d MMMM yyyy"))
            : std::string("Without a date");
        const int width = m_style.columns - displayWidth(name) - 2;
        std::string left;
        for (int i = 0; i < width / 2; ++i)
            left += "─";
        const std::string right = left + (width > 0 && width % 2 == 1 ? "─" : "");
        m_out << '\n'
              << styled(Style::dim, left) << ' ' << styled(Style::bold, name) << ' '
              << styled(Style::dim, right) << "\n\n";
        m_sender = "\n";
    }

    std::string nameCell(const Record& record)
    {
        const std::string name = fitted(printable(record.sender), m_nameWidth);
        return styled(styleOf(record), name) + blanks(m_nameWidth - displayWidth(name));
    }

    std::string_view styleOf(const Record& record)
    {
        if (record.isOutgoing)
            return Style::bold;
        const std::size_t next = m_styles.size() % Style::people.size();
        const auto& key = record.senderID ? *record.senderID : record.sender;
        return m_styles.try_emplace(key, Style::people[next]).first->second;
    }

    void writeContent(std::uint32_t index, const Record& record)
    {
        const Message& message = m_conversation.messages()[index];
        if (message.isReaction()) {
            writeLines(Style::dim, RecordText::ofReaction(record, quoteOf(message.target)));
        } else if (message.kind == MessageKind::System) {
            writeLines(Style::dim, RecordText::ofSystemLine(record));
        } else {
            if (record.replyToID)
                writeQuote(message);
            writeLines("", RecordText::body(record));
            writeLines(Style::dim, RecordText::attachments(record));
        }
        if (!message.isReaction())
            writeReactions(index);
        if (!m_start.empty()) // the message has nothing to show
            writeLine("", "");
    }

    /// The first words of a message, with its sender.
    std::string quoteOf(std::uint32_t target) const
    {
        if (target == Message::none)
            return "";
        const Record record = m_conversation.record(target);
        const int width = std::min(m_textWidth - 2, longestQuote);
        return fitted(printable(record.sender) + ": " + RecordText::firstWords(record), width);
    }

    void writeQuote(const Message& message)
    {
        const std::string quote = quoteOf(message.target);
        writeLine(Style::dim, "↪ " + (quote.empty() ? "a message that is not here" : quote));
    }

    void writeReactions(std::uint32_t index)
    {
        std::vector<Record> reactions;
        for (const std::uint32_t reaction : m_reactions.to(index))
            reactions.push_back(m_conversation.record(reaction));
        writeLines(Style::dim, RecordText::ofReactions(reactions));
    }

    void writeLines(std::string_view style, const std::string& text)
    {
        std::string_view rest = text;
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find('\n'), rest.size());
            for (const std::string& line : wrapped(std::string(rest.substr(0, end)), m_textWidth))
                writeLine(style, line);
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
    }

    void writeLine(std::string_view style, const std::string& text)
    {
        std::string start = std::exchange(m_start, "");
        if (start.empty() && !text.empty())
            start = blanks(m_indent);
        m_out << start << styled(style, text) << '\n';
    }

    std::ostream& m_out;
    const TextStyle& m_style;
    const Conversation& m_conversation;
    const Selection& m_chosen;
    const StandingReactions m_reactions;
    std::vector<bool> m_isChosen;
    int m_nameWidth = 0;
    int m_indent = 0;
    int m_textWidth = 0;
    std::map<std::string, std::string_view> m_styles; ///< by sender
    std::pair<int, int> m_day{-20'000, 0}; ///< year and day of the last message
    std::string m_sender; ///< of the last message
    std::int64_t m_time = 0; ///< of the last message
    std::string m_start; ///< time and name of a message whose first line is not written yet
};

} // namespace

void TextWriter::write(const Conversation& conversation, const Selection& chosen)
{
    if (chosen.empty())
        return;
    if (!std::exchange(m_isFirst, false))
        m_out << "\n\n";
    ChatText(m_out, m_style, conversation, chosen).write();
}

} // namespace korvane
