#pragma once

#include "storage/Descriptor.h"

#include <string>

namespace korvane {

/// A named pipe into which a program prints, and of which the test reads as much as it likes.
class OutputPipe {
public:
    /// Makes it; `path` is a name that nothing has.
    explicit OutputPipe(std::string path);

    const std::string& path() const { return m_path; }

    /// Reads until `text` has come; false where it does not.
    bool prints(const std::string& text);

    /// Leaves no room for another byte in the pipe.
    void fill() const;

    /// What was read so far.
    const std::string& printed() const { return m_printed; }

private:
    void readSome();

    const std::string m_path;
    const Descriptor m_pipe;
    std::string m_printed;
};

} // namespace korvane
