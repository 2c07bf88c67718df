#pragma once

#include "storage/Descriptor.h"

#include <string>

namespace korvane {

/// A named pipe that a program prints into. The test decides how much of it is read.
class OutputPipe {
public:
    /// Creates the pipe at `path`, where nothing may exist yet.
    explicit OutputPipe(std::string path);

    const std::string& path() const { return m_path; }

    /// Reads until `text` has come. Returns false if it does not come in time.
    bool prints(const std::string& text);

    /// Fills the pipe, so that not one more byte can be written.
    void fill() const;

    /// All that was read so far.
    const std::string& printed() const { return m_printed; }

private:
    void readSome();

    const std::string m_path;
    const Descriptor m_pipe;
    std::string m_printed;
};

} // namespace korvane
