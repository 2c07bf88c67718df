#include "reader/Conversation.h"

#include <algorithm>

namespace korvane {

namespace {

/// What a reaction and its removal have in common.
std::string keyOf(const Record& record, std::uint32_t target)
{
    return std::to_string(target) + '\n' + record.reactionKind.value_or("") + '\n'
        + record.senderID.value_or(record.sender);
}

} // namespace

StandingReactions::StandingReactions(const Conversation& conversation)
{
    std::unordered_map<std::string, std::vector<std::uint32_t>> standing; // by key
    const auto& messages = conversation.messages();
    for (std::uint32_t i = 0; i < messages.size(); ++i) {
        if (!messages[i].isReaction() || messages[i].target == Message::none)
            continue;
        auto& same = standing[keyOf(conversation.record(i), messages[i].target)];
        if (messages[i].kind == MessageKind::Reaction)
            same.push_back(i);
        else if (!same.empty())
            same.pop_back();
    }
    for (const auto& [key, reactions] : standing) {
        for (const std::uint32_t reaction : reactions)
            m_byMessage[messages[reaction].target].push_back(reaction);
    }
    for (auto& [message, reactions] : m_byMessage)
        std::ranges::sort(reactions);
}

const std::vector<std::uint32_t>& StandingReactions::to(std::uint32_t message) const
{
    static const std::vector<std::uint32_t> none;
    const auto found = m_byMessage.find(message);
    return found == m_byMessage.end() ? none : found->second;
}

} // namespace korvane
