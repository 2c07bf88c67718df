#include "export/Exporter.h"

#include <algorithm>

namespace korvane {

std::string Exporter::title(const ChatInfo& chat, const ContactNames& names)
{
    constexpr std::size_t mostNames = 3;
    if (!chat.displayName.empty())
        return chat.displayName;

    const std::vector<std::string> handles
        = chat.members.empty() ? std::vector{chat.identifier} : chat.members;
    std::string title;
    for (std::size_t i = 0; i < std::min(handles.size(), mostNames); ++i)
        title.append(i > 0 ? ", " : "").append(names.name(handles[i]));
    if (handles.size() > mostNames)
        title += " +" + std::to_string(handles.size() - mostNames);
    return title;
}

} // namespace korvane
