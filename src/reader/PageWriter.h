#pragma once

#include "reader/ConversationWriter.h"
#include "reader/Deflate.h"
#include "reader/PackedChat.h"
#include "storage/Draft.h"
#include "storage/Files.h"
#include "storage/OutputFile.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// Writes conversations as one page of HTML that needs nothing else: its script, its styles and all
/// chats are in the file. Its policy allows its own script and style, by their hashes, and no
/// network. The page has a temporary name beside its own, and mode 0600, until finish() has
/// completed it. Memory is bounded by the largest chat. Used by one thread.
///
/// Chats are in elements that a browser does not execute, in the order in which they were written:
///
///     <script type="text/plain" id="facts-C">      what chat C has beside texts
///     <script type="text/plain" id="texts-C-B">    block B of the texts of chat C
///     <script type="application/json" id="archive">
///
/// The last one, after all others, is a JSON object in which "<" is written as \u003c:
///
///     people   an array of {"name", "isMe"}
///     chats    an array of {"guid", "title", "entries", "messages", "first", "last", "blocks"};
///              "first" and "last" are milliseconds since 1970 UTC, "blocks" how many entries each
///              block has
///
/// The others are base64 of raw deflate. Integers in them are as PackedNumbers writes them; Δ marks
/// a column of differences, ± an integer of either sign. The script reads them exactly up to 2^53.
/// Facts are columns, one after the other,
/// with one integer for each entry (see PackedChat):
///
///     time         Δ milliseconds since 1970 UTC; that of the entry before if it has no date
///     row          Δ the number at the end of its id; 0 if there is none
///     person       index in "people"
///     flags        1: a system line; 2: a reaction or removal whose message is not in the page;
///                  4: no date; 8: outgoing
///     attachments  0: none; 1: unknown; n + 1: n photos
///     reply        0: no reply; 1: to a message that is not in the page; n + 2: ± n entries away
///
/// and then the number of reactions and three columns with one integer for each:
///
///     entry        Δ index of the entry
///     person       index in "people"
///     kind         0 to 5: love, like, dislike, laugh, emphasize, question; 6: another
///
/// A block of texts is UTF-8, with one U+0000 between two texts; one inside a text becomes a space.
/// Blocks are small, so that a page can show part of a chat without unpacking all of it.
class PageWriter : public ConversationWriter {
public:
    /// Throws std::runtime_error with a text for the user if `file` may not be written. A file that
    /// exists is replaced only with Existing::Replace, and only if it is empty or was written by
    /// this class: a wrong name must not cost the user another file.
    PageWriter(std::filesystem::path file, Files::Existing existing);

    /// Leaves out a chat of which nothing is chosen.
    void write(const Conversation& conversation, const Selection& chosen) override;

    void finish() override;

private:
    void appendPacked(const std::string& id, std::string_view bytes);
    void append(std::string_view text);

    const std::filesystem::path m_file;
    const Files::Existing m_existing;
    Draft m_draft;
    OutputFile m_output;
    Deflate m_deflate;
    PagePeople m_people;
    std::vector<std::string> m_chats; ///< as JSON
};

} // namespace korvane
