#pragma once

#include <string>

namespace korvane::sample {

/// A file that is either completed or gone: removed on destruction unless kept.
class NewFile {
public:
    /// Makes an empty file where there is nothing yet. Throws DBError if something is there, or
    /// no file can be made.
    explicit NewFile(const std::string& path);
    ~NewFile();

    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void keep() { m_kept = true; }

private:
    std::string m_path;
    bool m_kept = false;
};

} // namespace korvane::sample
