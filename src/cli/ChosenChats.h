#pragma once

#include "reader/Archive.h"

#include <string>
#include <vector>

namespace korvane {

/// A word that can mean several chats.
struct AmbiguousWord {
    std::string word;
    std::vector<ArchivedChat> candidates{};

    bool operator==(const AmbiguousWord&) const = default;

    /// A table of the candidates that is at most `columns` wide, unless their guids are too long.
    std::string table(int columns) const;
};

/// The chats that the words of a command line mean.
struct ChosenChats {
    std::vector<ArchivedChat> chats{}; ///< in the order of the words, each once
    std::vector<std::string> errors{}; ///< one line for each word or file that could not be used
    std::vector<AmbiguousWord> ambiguous{}; ///< in the order of the words

    bool operator==(const ChosenChats&) const = default;
};

/// Each word is a file, if there is one of that name, and otherwise part of a title, a guid or a
/// number of a chat in `folder`. No words mean all chats in `folder`.
ChosenChats chosenChats(const std::vector<std::string>& words, const std::string& folder);

} // namespace korvane
