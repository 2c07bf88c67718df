#pragma once

#include <cstddef>
#include <string_view>

namespace korvane {

bool isBinaryPropertyList(std::string_view bytes);

/// True unless reading the property list could take too much memory or stack. libplist copies an
/// object once for each reference to it, so that a short binary list can stand for an immense tree,
/// and it frees a tree recursively. Call this before it sees the bytes. The limits: 32 MiB; in a
/// binary list, 64 levels, 200,000 values and 64 MiB of contents in the whole tree; in XML, 20,000
/// dictionaries and arrays. A list that breaks the rules of its format may pass.
bool isModest(std::string_view bytes);

} // namespace korvane
