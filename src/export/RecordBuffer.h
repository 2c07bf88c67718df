#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// The bytes of one batch of records. They are kept in blocks of about 1 MiB, so a growing batch is
/// not reallocated and copied as a whole. Used by one thread at a time.
class RecordBuffer {
public:
    /// The block to append the next record to. Call it again for each record: it starts a new block
    /// when the last one is full.
    std::string& block();

    /// All bytes in order. The views are valid until the buffer changes.
    std::vector<std::string_view> pieces() const { return {m_blocks.begin(), m_blocks.end()}; }

private:
    std::vector<std::string> m_blocks;
};

} // namespace korvane
