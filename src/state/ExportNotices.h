#pragma once

#include "export/Exporter.h"

#include <string>
#include <vector>

namespace korvane {

/// Turns the results of exports into notifications and a lasting warning. The status line would not
/// do, because the next reload overwrites it. Main thread only.
class ExportNotices {
public:
    /// Takes the result of a run. Returns the texts of the notifications to show: one if the run
    /// has kept files, and one if it is the first run to meet a different database. While later
    /// runs meet it again, it is not announced again.
    std::vector<std::string> add(const SyncResult& result);

    /// The problem that lasts until the user does something about it; empty if there is none.
    const std::string& warning() const { return m_warning; }

private:
    std::string m_warning;
};

} // namespace korvane
