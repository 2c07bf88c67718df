#pragma once

#include "state/AppState.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace korvane {

/// What a state publishes, in the order in which it does: "isSyncing: true", "status: …".
class Recorder {
public:
    explicit Recorder(const AppState& state);

    /// One change a line.
    std::string changes() const;

    /// The same of the status alone, without its name.
    std::string statuses() const;

    /// How often there was just this change.
    std::ptrdiff_t count(const std::string& change) const;

    void clear() { m_changes.clear(); }

private:
    void add(const std::string& name, const std::string& value);
    void recordChats(const AppState& state);
    void recordTransfer(const AppState& state);

    std::vector<std::string> m_changes;
    QObject m_context; ///< the connections last as long as it does
};

/// One text a line.
std::string lines(const std::vector<std::string>& texts);

} // namespace korvane
