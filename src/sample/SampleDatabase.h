#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace korvane {

/// How large a sample to write. The same values always give the same bytes.
struct SampleSize {
    std::int64_t messages = 4000;
    std::int64_t chats = 24; ///< With none, all messages belong to no chat.
    std::uint64_t seed = 1;

    bool operator==(const SampleSize&) const = default;
};

/// Told now and then how many messages are written, and some more times when all are, while the
/// indexes are made. Returning false ends the writing.
using SampleProgress = std::function<bool(std::int64_t written)>;

/// Writes an invented Messages database to `path`, where there must not be a file yet. Throws
/// DBError, also when `progress` ends the writing; whatever is thrown, an incomplete file is
/// removed.
void writeSampleDatabase(
    const std::string& path, const SampleSize& size, const SampleProgress& progress = {});

/// Writes the address book that goes with the sample of this size to `path`, where no file must
/// be: vCards of two people in three. Throws DBError, leaving no incomplete file.
void writeSampleContacts(const std::string& path, const SampleSize& size);

} // namespace korvane
