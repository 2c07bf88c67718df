#pragma once

#include "contacts/ContactSource.h"
#include "contacts/VCardProperty.h"

#include <optional>
#include <vector>

namespace korvane {

/// The contact that the properties of one card describe, by the rules of `readVCards`. Absent if
/// the card is a distribution list or none of the properties read has a value.
std::optional<Contact> contactOf(const std::vector<VCardProperty>& card);

} // namespace korvane
