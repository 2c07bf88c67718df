#pragma once

#include "contacts/ContactSource.h"

#include <chrono>

namespace korvane {

/// The contacts of the desktop's own store, Evolution Data Server, which GNOME's and other programs
/// use. Reads all enabled address books and skips distribution lists.
///
/// Blocks the calling thread, which needs no event loop, for at most `timeout` plus the time to
/// parse the cards received. Queries all books in parallel, so a slow one, such as a book on a
/// remote server, does not delay the others. A book that fails or does not answer in time makes the
/// outcome Unanswered, unless it does not exist any longer or has a backend that is not installed.
class EvolutionSource : public ContactSource {
public:
    /// The deadline for all calls to the store together. Leaves half a second of three seconds for
    /// the rest of the work.
    static constexpr std::chrono::milliseconds timeout{2500};

    /// Missing without a message bus or without the store on it.
    ContactReading forEachContact(const Visitor& visit) const override;
};

} // namespace korvane
