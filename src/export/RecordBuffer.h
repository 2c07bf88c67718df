#pragma once

#include <memory>
#include <string_view>
#include <vector>

namespace korvane {

/// The bytes of one batch of records, in blocks that never move, so that a batch of any size is
/// built without copying it. Used by one thread at a time.
class RecordBuffer {
public:
    /// Room for `size` bytes in a row behind what is committed. Take back with commit() how much
    /// of it was used before asking again.
    char* reserve(std::size_t size);

    /// `end` is where the bytes written into the reserved room end.
    void commit(const char* end);

    bool empty() const { return m_blocks.empty(); }

    /// All bytes in order. The views live until the buffer is changed.
    std::vector<std::string_view> pieces() const;

    void clear() { m_blocks.clear(); }

private:
    struct Block {
        std::unique_ptr<char[]> bytes;
        std::size_t capacity;
        std::size_t used;
    };

    std::vector<Block> m_blocks;
};

} // namespace korvane
