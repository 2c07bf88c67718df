#pragma once

#include "export/Exporter.h"

#include <string>
#include <vector>

namespace korvane {

/// Turns the results of exports into what the user is told apart from the status line, which the
/// next reload overwrites. Main thread only.
class ExportNotices {
public:
    /// Takes the result of a run. Returns the texts of the notifications to show: one for the files
    /// that the run has kept, and one for each cause that the runs since its last end have not told
    /// yet.
    std::vector<std::string> add(const SyncResult& result);

    /// What is wrong as long as nothing is done about it; empty if nothing is.
    const std::string& warning() const { return m_warning; }

private:
    std::string m_warning;
};

} // namespace korvane
