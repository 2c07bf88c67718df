#pragma once

#include <stdexcept>

namespace korvane {

/// A backup that cannot be used. The text is one line for people: what is wrong with which file of
/// the backup, and what to do about it.
struct BackupError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace korvane
