#pragma once

#include "reader/Filter.h"

namespace korvane {

class Conversation;

/// Writes chosen conversations in one form, for example as text or as tables. The caller reads one
/// conversation after the other and passes each to write(), then calls finish() once; if it does
/// not, because it was interrupted, the writer leaves no file behind. Members throw
/// std::runtime_error with a text for the user if the output cannot be written. Used by one thread.
class ConversationWriter {
public:
    ConversationWriter() = default;
    virtual ~ConversationWriter() = default;
    ConversationWriter(const ConversationWriter&) = delete;
    ConversationWriter& operator=(const ConversationWriter&) = delete;

    /// Writes the records of `conversation` that `chosen` lists, which may be none. Both are only
    /// valid during the call.
    virtual void write(const Conversation& conversation, const Selection& chosen) = 0;

    /// Completes the output.
    virtual void finish() = 0;
};

} // namespace korvane
