#pragma once

#include "messages/MessageTypes.h"

#include <QString>

namespace korvane {

/// The line below a chat's title: "1,234 messages, last Nov 21, 2026". The user's locale formats
/// the number and the date, which has an abbreviated month. Without the date if the chat has none.
QString chatSubtitle(const ChatInfo& chat);

} // namespace korvane
