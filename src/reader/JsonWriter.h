#pragma once

#include "reader/ConversationWriter.h"

#include <ostream>

namespace korvane {

/// Writes records as an export does: one line of JSON each.
class JsonWriter : public ConversationWriter {
public:
    /// `out` must outlive this object. A failed write shows in its state.
    explicit JsonWriter(std::ostream& out) : m_out(out) { }

    void write(const Conversation& conversation, const Selection& chosen) override;
    void finish() override { }

private:
    std::ostream& m_out;
};

} // namespace korvane
