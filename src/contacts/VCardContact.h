#pragma once

#include "contacts/ContactSource.h"
#include "contacts/VCardProperty.h"

#include <optional>
#include <vector>

namespace korvane {

/// The contact that the properties of one card describe, by the rules of `readVCards`; absent
/// when the card is a distribution list or names nothing at all.
std::optional<Contact> contactOf(const std::vector<VCardProperty>& card);

} // namespace korvane
