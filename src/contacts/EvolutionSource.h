#pragma once

#include "contacts/ContactSource.h"

#include <chrono>

namespace korvane {

/// The contacts of the desktop's own store, Evolution Data Server: those that GNOME's and other
/// programs show, from all address books that are switched on there. Distribution lists are left
/// out.
///
/// Blocks the calling thread, which needs no event loop, for at most `patience` and the time to
/// read what came until then. All books are asked at once: one that is slow, as those of a server
/// far away can be, costs the others nothing, and one that fails is passed over.
class EvolutionSource : public ContactSource {
public:
    /// How long a store may take to answer, with something left of three seconds for the rest.
    static constexpr std::chrono::milliseconds patience{2500};

    /// Throws SessionBusError where there is no store, or none that answers.
    void forEachContact(const Visitor& visit) const override;
};

} // namespace korvane
