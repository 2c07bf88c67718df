#include "export/RecordBuffer.h"

namespace korvane {

std::string& RecordBuffer::block()
{
    constexpr std::size_t usualBlock = std::size_t{1} << 20U;
    constexpr std::size_t usualRecord = std::size_t{1} << 12U; // a longer one makes the block grow
    if (m_blocks.empty() || m_blocks.back().size() >= usualBlock)
        m_blocks.emplace_back().reserve(usualBlock + usualRecord);
    return m_blocks.back();
}

} // namespace korvane
