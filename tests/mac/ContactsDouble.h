#pragma once

#include "contacts/ContactSource.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// The double of the Contacts framework that the adapter is linked with in these tests: what it is
/// to do, and what it was asked. One play at a time.
namespace korvane::contactsDouble {

enum class Access { Granted, Denied, Failed, GrantedWithAnError, Unanswered };

/// How one store behaves. Numbers of contacts say after how many of them something happens.
struct Play {
    std::vector<Contact> contacts;
    Access access = Access::Granted;
    std::chrono::milliseconds answersAfter{0}; ///< on a thread of the store's, where not 0
    std::chrono::milliseconds betweenContacts{0};
    bool throwsWhenAsked = false;
    bool blocksWhenAsked = false; ///< until release()
    std::optional<std::size_t> failsAfter;
    std::optional<std::size_t> throwsAfter;
    std::optional<std::size_t> blocksAfter; ///< until release()
};

/// What was asked of all stores since the play began.
struct Record {
    std::vector<std::string> calls; ///< in their order
    std::vector<std::string> keys; ///< of the last fetch
    std::size_t handedOut = 0; ///< contacts
};

void begin(Play play);
Record record();

/// How many stores, requests and contacts there are that nobody has let go of.
int alive();

/// Lets blocked calls go on, and returns when every thread of the store's has ended.
void release();

} // namespace korvane::contactsDouble
