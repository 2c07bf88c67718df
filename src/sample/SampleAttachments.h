#pragma once

#include "sample/Random.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::sample {

struct SampleAttachment {
    std::string guid;
    std::string filename;
    std::string transferName;
    std::optional<std::string_view> mimeType;
    std::int64_t totalBytes = 0;
};

/// What came with one message: mostly a photo, sometimes several, seldom something else, and now
/// and then a file whose type is unknown.
std::vector<SampleAttachment> makeAttachments(const std::string& messageGuid, Random& random);

} // namespace korvane::sample
