#pragma once

#include "sample/Random.h"

#include <string>
#include <string_view>

namespace korvane::sample {

/// What Messages puts into a text where an attachment sits: U+FFFC.
inline constexpr std::string_view attachmentMark = "\xEF\xBF\xBC";

/// A message as people write them: a word or two, mostly a sentence, now and then a letter.
std::string everydayText(Random& random);

/// A few words beside a picture.
std::string captionText(Random& random);

/// How Messages words a reaction of this kind (0 … 5, from love to question) to a message, whose
/// text is empty when it was a picture alone.
std::string reactionText(int kind, bool removal, std::string_view target);

} // namespace korvane::sample
