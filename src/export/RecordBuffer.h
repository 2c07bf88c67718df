#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// The bytes of one batch of records, in blocks, so that a large batch grows without being copied.
/// Used by one thread at a time.
class RecordBuffer {
public:
    /// Where the next record is to be appended. Ask again for each record.
    std::string& block();

    /// All bytes in order. The views live until the buffer is changed.
    std::vector<std::string_view> pieces() const { return {m_blocks.begin(), m_blocks.end()}; }

private:
    std::vector<std::string> m_blocks;
};

} // namespace korvane
