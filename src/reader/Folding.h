#pragma once

#include <string>
#include <string_view>

namespace korvane {

/// `text` for comparing without regard to case, accents and the shape of quotation marks, as on the
/// page (fold.js). The case is that of NFKC_Casefold in the Unicode Standard: "ß" is "ss", and
/// invisible characters are left out.
std::string folded(std::string_view text);

} // namespace korvane
