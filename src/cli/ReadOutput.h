#pragma once

#include "process/Interruption.h"
#include "reader/ConversationWriter.h"
#include "reader/TextWriter.h"

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace korvane {

class Pager;
struct ArchivedChat;
struct Console;
struct ReadOptions;

/// Where conversations go, and in which form.
class ReadOutput {
public:
    /// Starts the user's pager if the form is text and the console's output is a terminal. Throws
    /// std::runtime_error if the options name a file that may not be written, for example beside a
    /// file of `chats`, which are those to read.
    ReadOutput(
        const ReadOptions& options, const std::vector<ArchivedChat>& chats, const Console& console);

    /// Waits until the user has closed the pager, if close() has not.
    ~ReadOutput();

    ReadOutput(const ReadOutput&) = delete;
    ReadOutput& operator=(const ReadOutput&) = delete;

    ConversationWriter& writer() { return *m_writer; }

    /// Completes the output.
    void finish();

    /// Waits until the user has closed the pager. Returns why nothing was shown; "" if it was.
    std::string close();

    /// Whether the user interrupted the writing of a file before it was complete.
    bool isInterrupted() const;

    /// False once nobody reads the output, it cannot be written, or the user interrupted the
    /// program.
    bool isWanted() const;

    bool isTerminal() const { return m_isTerminal; }

private:
    std::optional<Interruption> m_interruption; ///< while a file is written; else signals kill
    const bool m_isTerminal;
    std::unique_ptr<Pager> m_pager; ///< null if there is none
    std::ostream& m_out;
    std::unique_ptr<ConversationWriter> m_writer;
};

/// How text looks on the console: as wide as the terminal, or as $COLUMNS says, or 80 columns wide;
/// coloured on a terminal, unless $NO_COLOR is set or the terminal is "dumb".
TextStyle textStyleFor(const Console& console);

} // namespace korvane
