#include "state/ExportNotices.h"

#include "export/KeptText.h"

namespace korvane {

namespace {

constexpr auto differentDatabase
    = "This is a different database than the one that was exported before.";

std::string textOfForeign(std::int64_t chats)
{
    return std::string(differentDatabase) + ' ' + countOf(chats, "chat")
        + (chats == 1 ? " is" : " are")
        + " not exported, to keep the files as they are. In a terminal, korvane-sync check shows "
          "which, and korvane-sync check --repair begins their files anew. If you chose another "
          "export folder than the usual one, add --folder.";
}

} // namespace

std::vector<std::string> ExportNotices::add(const SyncResult& result)
{
    std::vector<std::string> texts;
    if (!result.kept.empty())
        texts.push_back(textOf(result.kept));
    if (result.foreignChats > 0 && m_warning.empty())
        texts.push_back(textOfForeign(result.foreignChats));
    if (result.foreignChats > 0)
        m_warning = differentDatabase;
    else if (result.errors.empty()) // after an error, the run may not have looked
        m_warning.clear();
    return texts;
}

} // namespace korvane
