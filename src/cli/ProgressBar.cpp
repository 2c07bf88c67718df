#include "cli/ProgressBar.h"

#include "cli/Table.h"

#include <algorithm>

namespace korvane {

namespace {

constexpr std::string_view startOfLineAndWipe = "\r\x1B[K";

std::string bar(std::int64_t percent)
{
    constexpr std::int64_t width = 24;
    const std::int64_t filled = width * percent / 100;
    std::string text = "[";
    for (std::int64_t i = 0; i < width; ++i)
        text += i < filled ? '#' : '.';
    return text + "] " + std::to_string(percent) + "% ";
}

} // namespace

ProgressBar::ProgressBar(
    std::ostream& out, bool visible, std::int64_t total, Clock::duration patience)
    : m_out(out)
    , m_visible(visible)
    , m_total(std::max<std::int64_t>(total, 1))
    , m_nextDraw(Clock::now() + patience)
{
}

ProgressBar::~ProgressBar()
{
    if (m_drawn)
        m_out << startOfLineAndWipe << std::flush;
}

void ProgressBar::show(std::int64_t done, std::string_view doing)
{
    const auto now = Clock::now();
    if (!m_visible || now < m_nextDraw)
        return;
    constexpr int doingWidth = 40;
    const std::int64_t percent = std::clamp<std::int64_t>(100 * done / m_total, 0, 100);
    m_out << startOfLineAndWipe << bar(percent) << fitted(printable(doing), doingWidth)
          << std::flush;
    m_nextDraw = now + std::chrono::milliseconds(100);
    m_drawn = true;
}

} // namespace korvane
