#include "export/RecordBuffer.h"

#include <algorithm>

namespace korvane {

namespace {

constexpr std::size_t usualBlock = std::size_t{1} << 20U;

} // namespace

char* RecordBuffer::reserve(std::size_t size)
{
    if (m_blocks.empty() || m_blocks.back().capacity - m_blocks.back().used < size) {
        const std::size_t capacity = std::max(size, usualBlock);
        m_blocks.push_back({std::make_unique_for_overwrite<char[]>(capacity), capacity, 0});
    }
    return m_blocks.back().bytes.get() + m_blocks.back().used;
}

void RecordBuffer::commit(const char* end)
{
    Block& block = m_blocks.back();
    block.used = static_cast<std::size_t>(end - block.bytes.get());
}

std::vector<std::string_view> RecordBuffer::pieces() const
{
    std::vector<std::string_view> pieces;
    pieces.reserve(m_blocks.size());
    for (const Block& block : m_blocks)
        pieces.emplace_back(block.bytes.get(), block.used);
    return pieces;
}

} // namespace korvane
