#pragma once

#include "state/AppState.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace korvane {

/// Records the changes that a state signals, in order, as "isSyncing: true", "status: …".
class Recorder {
public:
    explicit Recorder(const AppState& state);

    /// All changes, one per line.
    std::string changes() const;

    /// The statuses alone, one per line, without "status: ".
    std::string statuses() const;

    /// How often this very change was recorded.
    std::ptrdiff_t count(const std::string& change) const;

    void clear() { m_changes.clear(); }

private:
    void add(const std::string& name, const std::string& value);
    void recordChats(const AppState& state);
    void recordTransfer(const AppState& state);

    std::vector<std::string> m_changes;
    QObject m_context; ///< context object: its destruction ends the connections
};

/// Joins the texts, each ended by a newline.
std::string lines(const std::vector<std::string>& texts);

} // namespace korvane
