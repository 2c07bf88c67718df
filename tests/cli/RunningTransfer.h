#pragma once

#include "Terminal.h"

#include "pairing/TransferLink.h"
#include "support/TestDatabase.h"

#include <QProcess>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace korvane {

/// A user with a chat, "Team" with the guid G1, to hand over.
struct Owner {
    Owner();

    /// "transfer", with all that it needs to know of the chat; `more` options and their values are
    /// added, or take the place of those.
    std::vector<std::string> words(const std::vector<std::string>& more = {}) const;

    /// Runs "export" for the chat.
    Outcome exportChat() const;

    /// The export file, once there is one.
    std::filesystem::path file() const;

    /// Exports the chat, and makes its file just so long.
    void exportAndResize(std::uintmax_t size) const;

    Terminal terminal;
    TestDatabase database;
};

/// The link among what `transfer` has printed.
TransferLink linkIn(const std::string& printed);

/// `korvane-sync` as a process of its own, handing the chat over. It goes with this object.
class RunningTransfer {
public:
    /// Starts it with these words; `within` are those before the program.
    explicit RunningTransfer(
        const std::vector<std::string>& words, const std::vector<std::string>& within = {});
    ~RunningTransfer();
    Q_DISABLE_COPY_MOVE(RunningTransfer)

    /// Waits until it has printed `text` so many times; false where that does not come.
    bool prints(const std::string& text, int times = 1);

    /// Waits until all is printed that there is to see before anybody fetches.
    bool isReady() { return prints("Ctrl-C ends it at once.\n"); }

    /// Of what it has printed so far.
    TransferLink link() const { return linkIn(m_printed); }

    /// Sends it a signal and waits for its end. Its exit code; -1 where it is killed or goes on.
    int end(int signal);

    /// Waits for its end.
    int exitCode();

    const std::string& printed() const { return m_printed; }
    std::string complained();
    qint64 id() const { return m_program.processId(); }

private:
    bool hasPrinted(const std::string& text, int times) const;

    QProcess m_program;
    std::string m_printed;
};

} // namespace korvane
