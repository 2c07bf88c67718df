#pragma once

#include <string>
#include <string_view>

namespace korvane {

/// `text` for comparing without regard to case: NFKC_Casefold of the Unicode Standard. Accents can
/// be composed or not, "ß" is "ss", and invisible characters are left out.
std::string folded(std::string_view text);

} // namespace korvane
