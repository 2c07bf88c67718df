#pragma once

#include "contacts/ContactSource.h"

#include <string>

namespace korvane {

/// Passes every contact of a card file to `visit`, in the file's order. `bytes` is the whole file:
/// a sequence of cards of vCard 2.1, 3.0 (RFC 2426) and 4.0 (RFC 6350) as real address books write
/// them, in UTF-8, or in UTF-16 with a byte-order mark. Malformed input never throws. Takes linear
/// time; a card of very many short lines can take a few tens of times its size in memory.
///
/// Reads five properties of a card. Their names may have any case and any group:
///
///     N       the first two components, family and given name; the first N that has either
///     FN      used as the given name if no N has a name, unless the card is a company's: FN
///             repeats ORG, or the card has an empty N and an ORG
///     ORG     the first component, without the units
///     TEL     all, in order; of tel:+1-555-0100;ext=12 only the number
///     EMAIL   all, in order; of mailto:jane@example.org?subject=Hi only the address
///
/// White space around values and components is removed. Empty values are ignored, and a card
/// without any of the five is not a contact. Neither is a distribution list (KIND:group,
/// X-ADDRESSBOOKSERVER-KIND:group, X-EVOLUTION-LIST:TRUE) or a card nested in the AGENT of another.
///
/// Tolerates damaged cards: skips lines without a colon, and ends a card at its END, at the next
/// BEGIN or at the end of the file. Bytes that are invalid in a value's charset become U+FFFD. If
/// no known charset is named, a value that is not valid UTF-8 is read as windows-1252, which old
/// programs write in versions 2.1 and 3.0. In version 4.0 it is still read as UTF-8.
void readVCards(std::string bytes, const ContactSource::Visitor& visit);

} // namespace korvane
