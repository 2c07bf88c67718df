#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace korvane {

/// The size of a sample. Equal values always give equal files, byte for byte.
struct SampleSize {
    std::int64_t messages = 4000;
    std::int64_t chats = 24; ///< With 0, no message is in a chat.
    std::uint64_t seed = 1;

    bool operator==(const SampleSize&) const = default;
};

/// Called with the number of messages written so far: every 5000 messages, then with the total
/// before each index and at the end. Returning false cancels the writing.
using SampleProgress = std::function<bool(std::int64_t written)>;

/// Creates a Messages database with invented content at `path`. Throws DBError if `path` exists,
/// `size` is out of range, the writing fails, or `progress` cancels it. After any exception, also
/// one thrown by `progress`, no incomplete file is left.
void writeSampleDatabase(
    const std::string& path, const SampleSize& size, const SampleProgress& progress = {});

/// Creates the address book for the sample of this size at `path`: vCards of two thirds of its
/// people. The number of messages makes no difference. Throws DBError if `path` exists, `size` is
/// out of range, or the writing fails; then no incomplete file is left.
void writeSampleContacts(const std::string& path, const SampleSize& size);

} // namespace korvane
