#pragma once

#include "contacts/ContactSource.h"

#include <string_view>

namespace korvane {

/// Hands every contact of a card file to `visit`, in the file's order. `bytes` are a whole file:
/// cards of vCard 2.1, 3.0 (RFC 2426) and 4.0 (RFC 6350) as address books really write them, one
/// after the other, in UTF-8 or, after a byte-order mark, UTF-16. Throws for no bytes whatever,
/// takes time in proportion to them, and at worst some ten times their memory for one card.
///
/// Of a card, five things are read, in whatever case and group their names are written:
///
///     N       the first two components, family and given name; the first N that has either
///     FN      the given name of a card without a usable N, as the display name is all there is
///             then; unless it repeats the organisation, as it does in the card of a company
///     ORG     the first component, without the units
///     TEL     all, in order; of tel:+1-555-0100;ext=12 only the number
///     EMAIL   all, in order; of mailto:jane@example.org?subject=Hi only the address
///
/// Values are the user's own, without the white space around a value or component. An empty one
/// adds nothing, and a card without any of the five is no contact. Nor is a distribution list
/// (KIND:group, X-ADDRESSBOOKSERVER-KIND:group, X-EVOLUTION-LIST:TRUE) or a card nested in another
/// one's AGENT.
///
/// Cards may be damaged: lines without a colon are passed over, and a card ends at its END, at the
/// next BEGIN or with the file. A value that is not of its charset has U+FFFD where it is broken.
/// Where none is named, what is not UTF-8 is windows-1252, as old programs write versions 2.1 and
/// 3.0; version 4.0 is always UTF-8.
void readVCards(std::string_view bytes, const ContactSource::Visitor& visit);

} // namespace korvane
