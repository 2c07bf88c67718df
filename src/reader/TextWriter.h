#pragma once

#include "reader/ConversationWriter.h"

#include <ostream>

namespace korvane {

/// How a conversation looks as text.
struct TextStyle {
    int columns = 80; ///< lines are at most so wide, unless that is less than a name and a word
    bool colours = false; ///< with the escape sequences of a terminal (ECMA-48)

    bool operator==(const TextStyle&) const = default;
};

/// Writes conversations for people: a heading for each chat and each day, and for each message its
/// time, its sender and its text, with the first words of what it replies to above it and the
/// reactions below it. Dates and times are local. Reactions and removals whose message is not
/// chosen have a line of their own. No text can emit control characters or change the direction of
/// others.
class TextWriter : public ConversationWriter {
public:
    /// `out` must outlive this object. A failed write shows in its state.
    explicit TextWriter(std::ostream& out, const TextStyle& style = {}) : m_out(out), m_style(style)
    {
    }

    void write(const Conversation& conversation, const Selection& chosen) override;
    void finish() override { }

private:
    std::ostream& m_out;
    const TextStyle m_style;
    bool m_isFirst = true;
};

} // namespace korvane
