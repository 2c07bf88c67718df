#pragma once

#include <string_view>

/// The parts of the page, which the build assembles from the files in page/.
namespace korvane::PageParts {

/// page.html with markers: @policy@, @style@, @data@ and @script@, in this order.
extern const std::string_view frame;

/// The style sheets, one after the other.
extern const std::string_view style;

/// The modules, one after the other, without their imports and exports.
extern const std::string_view script;

} // namespace korvane::PageParts
