#pragma once

#include "contacts/ContactSource.h"

#include <filesystem>
#include <string>

namespace korvane {

/// The contacts of card files: of one file or named pipe with any name, or of a folder and its
/// subfolders, in which some tools keep one file per contact.
///
/// In a folder, reads the files named *.vcf or *.vcard, in any case, sorted by name. Skips files
/// and folders that are hidden or belong to unfinished writes (`.…`, `~…`), and does not follow
/// links to folders. Silently skips files that are missing, unreadable, not regular or larger than
/// 256 MiB. The outcome is Unanswered if a folder or file cannot be read for another reason, such
/// as a network drive that has gone away.
///
/// A pipe is read only if it is named itself, not inside a folder. It is read until its last writer
/// closes it, so it yields its contacts once. A pipe without a writer yields none.
class VCardSource : public ContactSource {
public:
    explicit VCardSource(std::filesystem::path fileOrFolder);

    ContactReading forEachContact(const Visitor& visit) const override;

private:
    std::filesystem::path m_path;
};

} // namespace korvane
