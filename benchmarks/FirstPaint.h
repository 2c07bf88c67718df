#pragma once

/// The environment by which the benchmark and the library that it loads into programs understand
/// each other.
namespace korvane::FirstPaint {

inline constexpr const char* channel = "KORVANE_PAINT_CHANNEL"; ///< a descriptor to write to
inline constexpr const char* wanted = "KORVANE_PAINT_WANTED"; ///< what is waited for:
inline constexpr const char* window = "window";
inline constexpr const char* list = "list"; ///< with rows in it

} // namespace korvane::FirstPaint
