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

/// A user with a chat to transfer: "Team", with the guid G1.
struct Owner {
    Owner();

    /// The command line of `transfer` for the chat. `more` has options and their values, which are
    /// added, or replace the values of options that are there.
    std::vector<std::string> words(const std::vector<std::string>& more = {}) const;

    /// Runs `export` for the chat.
    Outcome exportChat() const;

    /// The path of the chat's export file, which an export creates.
    std::filesystem::path file() const;

    /// Exports the chat and resizes its file to `size` bytes.
    void exportAndResize(std::uintmax_t size) const;

    Terminal terminal;
    TestDatabase database;
};

/// Finds the link in the output of `transfer`.
TransferLink linkIn(const std::string& printed);

/// A process `korvane-sync transfer`. The destructor ends it.
class RunningTransfer {
public:
    /// Starts the program with `words` as arguments; `within` goes before it, like "ip netns exec".
    explicit RunningTransfer(
        const std::vector<std::string>& words, const std::vector<std::string>& within = {});
    ~RunningTransfer();
    Q_DISABLE_COPY_MOVE(RunningTransfer)

    /// Waits until it has printed `text` `times` times. Returns false on timeout.
    bool prints(const std::string& text, int times = 1);

    /// Waits until it has printed everything up to the first fetch.
    bool isReady() { return prints("Ctrl-C ends it at once.\n"); }

    /// The link in what was read of its output so far.
    TransferLink link() const { return linkIn(m_printed); }

    /// Sends a signal and waits for the end. Returns the exit code; -1 if it was killed or goes on.
    int end(int signal);

    /// Waits for the end. Returns what end() does.
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
