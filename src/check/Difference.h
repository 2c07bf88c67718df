#pragma once

namespace korvane {

struct Record;

/// How a record in a file differs from the record with the same id in the database.
enum class Difference {
    None, ///< includes a reference or count that only the file still has
    Renamed, ///< only the names of the sender or of the chat differ
    Changed, ///< the same message, but what it says or refers to differs
    Foreign, ///< another message: the id was given again by another database
};

/// Compares a record in a file with that of the database. A message that was deleted takes the
/// references to it along, and its attachments their count; so it is no difference if only the file
/// has a reference or a count. A record is foreign if its date differs by more than one second, and
/// its sender ID, direction or body differs as well: the date of a message never moves that far.
Difference differenceOf(const Record& inFile, const Record& inDatabase);

} // namespace korvane
