#pragma once

/// The environment variables with which the benchmark controls the library that it preloads into
/// programs.
namespace korvane::FirstPaint {

inline constexpr const char* channel = "KORVANE_PAINT_CHANNEL"; ///< a descriptor to write to
inline constexpr const char* wanted = "KORVANE_PAINT_WANTED"; ///< `window` or `list`
inline constexpr const char* window = "window";
inline constexpr const char* list = "list"; ///< a list with rows

} // namespace korvane::FirstPaint
