#pragma once

#include "reader/ConversationWriter.h"

#include <ostream>

namespace korvane {

/// Writes records as comma-separated values (RFC 4180): a header row with the keys of a record,
/// then a row for each record, each with CR LF at its end. A cell is in quotation marks if it has a
/// comma, a quotation mark or a line break, or begins or ends with a blank. A key without a value
/// is an empty cell; truth values are "true" and "false".
///
/// Texts are written as they are. One that begins with "=", "+", "-" or "@" can become a formula in
/// a spreadsheet program: changing it would damage the text for everything else, and phone numbers
/// begin with "+".
class CsvWriter : public ConversationWriter {
public:
    /// `out` must outlive this object. A failed write shows in its state.
    explicit CsvWriter(std::ostream& out) : m_out(out) { }

    void write(const Conversation& conversation, const Selection& chosen) override;

    /// Writes the header row if no conversation did.
    void finish() override { writeHeader(); }

private:
    void writeHeader();

    std::ostream& m_out;
    bool m_hasHeader = false;
};

} // namespace korvane
