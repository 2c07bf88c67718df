#pragma once

#include "messages/MessageTypes.h"

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace korvane {

class MessagesDB;
struct ExportState;

/// Finds export files that were written from a different database than the one that is open: after
/// a move to a new Mac or a restored database, whose row ids begin again, or when a phone's backup
/// is read into the folder of the Mac. Appending to such a file would mix two sets of row ids, and
/// would leave out the messages whose row ids are not after the last exported one.
///
/// A chat's file is foreign if one of these signs shows:
/// - The row id of a record in the file belongs to another message in the database: the dates
///   differ by more than one second, and sender ID, direction or text differ. Looked at are the
///   first record, the last, and two in the middle.
/// - None of the file's last eight records is in the database. And the file lacks the chat's newest
///   message, although the row id of that one is not after the last exported one.
///
/// So none of these is a sign: messages that were deleted, edited, added late or moved to another
/// chat, renamed contacts, an older copy of the file, a file that was cut off, a torn line. Nor is
/// anything that is no regular file, or that has no readable records: what cannot be compared
/// proves nothing.
namespace ForeignFiles {

/// The error of a chat whose file is foreign: what happened and what to do.
extern const char* const explanation;

/// The name that a new file of this chat would get; "" if that is not known.
using NewName = std::function<std::string(const ChatInfo&)>;

/// The guids of those of `chats` whose file in `folder` is foreign: the file that `state` names or,
/// for a chat that has no state, one that already has the name of a new file. Only the first sign
/// counts for that one: without state, it is not known what the file should have. Takes
/// 10 to 20 microseconds a chat, as long as nothing is foreign. A database that fails to be read is
/// no sign: exporting the chat fails, too, and reports it. Throws std::overflow_error (see
/// referenceTime()).
std::set<std::string> find(const std::vector<ChatInfo>& chats, const ExportState& state,
    const std::filesystem::path& folder, MessagesDB& db, const NewName& newName);

} // namespace ForeignFiles

} // namespace korvane
