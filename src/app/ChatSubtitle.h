#pragma once

#include "messages/ChatInfo.h"

#include <QString>

namespace korvane {

/// What stands below a chat's title: "1,234 messages, last Nov 21, 2026", number and date as the
/// user's locale writes them, the date in its abbreviated form; without a date where there is none.
QString chatSubtitle(const ChatInfo& chat);

} // namespace korvane
