#pragma once

#include "sample/ChatTurns.h"
#include "sample/RecentMessages.h"
#include "sample/SampleAttachments.h"
#include "sample/SamplePeople.h"
#include "sample/Timeline.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace korvane::sample {

/// One row of the message table and what hangs on it. Empty texts stand for NULL.
struct SampleMessage {
    std::int64_t row = 0;
    ChatTurn turn;
    std::string guid;
    std::string text;
    std::string service;
    std::string roomName;
    std::optional<std::size_t> handle; ///< The sender's, or in a direct chat always the other's.
    bool fromMe = false;
    bool textIsPlain = false; ///< Kept in the text column, not in the attributed body.
    std::int64_t date = 0;
    std::int64_t dateDelivered = 0;
    std::int64_t dateRead = 0;

    std::int64_t associatedType = 0;
    std::string associatedGuid;
    std::string threadOriginatorGuid;

    std::int64_t itemType = 0;
    std::string groupTitle;

    bool hasAttachments = false;
    bool attachmentsAreJoined = true;
    std::vector<SampleAttachment> attachments;
};

/// The messages of a sample, one after the other.
class SampleHistory {
public:
    /// `people` are those of the same size, and must outlive the history.
    SampleHistory(const SampleSize& size, const SamplePeople& people);

    /// To be called for each of the messages.
    SampleMessage next();

private:
    void setDates(SampleMessage& message);
    void setSender(SampleMessage& message, const Chat& chat);
    void setContent(SampleMessage& message, const Chat& chat, RecentMessages& recent);
    void makeReaction(SampleMessage& message, const RecentMessages& recent);
    void makeSystem(SampleMessage& message, const Chat& chat);
    void attachFiles(SampleMessage& message);
    std::string guidOf(const RecentMessage& message);

    std::uint64_t m_seed;
    const SamplePeople& m_people;
    Random m_random;
    ChatTurns m_turns;
    Timeline m_timeline;
    std::vector<RecentMessages> m_recent; ///< Of each chat, and at the end of the deleted one.
    std::int64_t m_row = 0;
};

} // namespace korvane::sample
