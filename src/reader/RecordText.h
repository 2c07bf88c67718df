#pragma once

#include "export/Record.h"

#include <string>
#include <vector>

namespace korvane {

/// What the text form says of a record. All texts are safe to print, see printableLines(); those of
/// body() can have several lines. Stateless.
namespace RecordText {

/// The body without white space at its ends. Without one, and without attachments, it says so.
std::string body(const Record& record);

/// "[2 photos]", "[photo]" or "[attachment]"; "" if there is none.
std::string attachments(const Record& record);

/// The body or the attachments in one line.
std::string firstWords(const Record& record);

std::string ofSystemLine(const Record& record);

/// The reactions to one message: "♥ Ann, Bo  👍 Me". "" for none.
std::string ofReactions(const std::vector<Record>& reactions);

/// One reaction or removal without its message beside it: `quote` says what it belongs to, and is
/// "" if that is not known.
std::string ofReaction(const Record& record, const std::string& quote);

} // namespace RecordText

} // namespace korvane
