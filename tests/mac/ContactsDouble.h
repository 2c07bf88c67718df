#pragma once

#include "contacts/ContactSource.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// Controls the test double of the Contacts framework, which these tests link the adapter with:
/// what it shall do, and what it was asked. There is one play at a time.
namespace korvane::contactsDouble {

enum class Access { Granted, Denied, Failed, GrantedWithAnError, Unanswered };

/// How stores behave. `failsAfter`, `throwsAfter` and `blocksAfter` count contacts: it happens once
/// that many have been handed out.
struct Play {
    std::vector<Contact> contacts;
    Access access = Access::Granted;
    std::chrono::milliseconds answersAfter{0}; ///< unless 0, answers on another thread
    std::chrono::milliseconds betweenContacts{0};
    bool prompts = false; ///< the system asks the user; otherwise it knows the answer
    bool throwsWhenAsked = false;
    bool blocksWhenAsked = false; ///< until release()
    std::optional<std::size_t> failsAfter;
    std::optional<std::size_t> throwsAfter;
    std::optional<std::size_t> blocksAfter; ///< until release()
};

/// What all stores together were asked since begin().
struct Record {
    std::vector<std::string> calls; ///< in order
    std::vector<std::string> keys; ///< keys of the last fetch request
    std::size_t handedOut = 0; ///< number of contacts
};

void begin(Play play);
Record record();

/// The number of stores, requests and contacts that are not deallocated.
int alive();

/// Unblocks blocked calls, and returns when all calls and threads of the stores have ended.
void release();

} // namespace korvane::contactsDouble
