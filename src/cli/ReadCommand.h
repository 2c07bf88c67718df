#pragma once

#include <optional>
#include <string>
#include <vector>

namespace korvane {

struct Console;

struct ReadOptions {
    std::vector<std::string> chats; ///< parts of titles, guids, numbers or files; empty: all chats
    std::string folder;
    std::string since; ///< see timeSpan(); "": no limit, as below
    std::string until;
    std::string from;
    std::string search;
    bool text = false; ///< the default form
    bool json = false;
    bool csv = false;
    std::optional<std::string> sqlite{}; ///< the file to write, as below
    std::optional<std::string> html{};
    bool overwrite = false; ///< replace an earlier file of this command
};

/// Prints the conversations in export files, or writes them into a file, in the form that the
/// options choose. On a terminal, text goes to the user's pager. Reads no database, and never
/// writes into a folder of export files. An interruption (Ctrl-C) leaves no incomplete file. The
/// exit code is that of a failure if something could not be read or found, and that of bad usage if
/// a word can mean several chats.
int runRead(const ReadOptions& options, const Console& console);

} // namespace korvane
