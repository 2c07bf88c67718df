#include "reader/JsonWriter.h"

#include "reader/Conversation.h"

#include <string>

namespace korvane {

namespace {

constexpr std::size_t blockSize = std::size_t{128} * 1024;

} // namespace

void JsonWriter::write(const Conversation& conversation, const Selection& chosen)
{
    std::string block; // large ones: a stream takes a while for each call
    for (const std::uint32_t index : chosen) {
        block.append(conversation.messages()[index].json).append(1, '\n');
        if (block.size() < blockSize)
            continue;
        m_out << block;
        block.clear();
        if (!m_out)
            return;
    }
    m_out << block;
}

} // namespace korvane
