#pragma once

#include "crypto/Secret.h"

#include <stdexcept>
#include <string>

namespace korvane {

struct Console;

/// Thrown if a signal that ends the program arrives during a question.
struct InterruptedError : std::runtime_error {
    InterruptedError() : std::runtime_error("Interrupted.") { }
};

/// The first line of a file, or of a pipe, without the line break. Throws std::runtime_error if it
/// cannot be read or has nothing at all.
Secret passwordFromFile(const std::string& path);

/// The same for an open descriptor. Reads nothing after the line, and leaves it open.
Secret passwordFromDescriptor(int descriptor);

/// Prints the question on `console.err` and reads the answer from the terminal that is standard
/// input, which meanwhile does not show what is typed. Throws InterruptedError after Ctrl-C, and
/// std::runtime_error if there is no answer. Requires `console.inIsTerminal`. No Interruption may
/// exist.
Secret askForPassword(const std::string& question, const Console& console);

} // namespace korvane
