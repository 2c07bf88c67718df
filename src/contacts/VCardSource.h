#pragma once

#include "contacts/ContactSource.h"

#include <filesystem>
#include <string>

namespace korvane {

/// The contacts of card files: of one file or pipe, whatever it is called, or of a folder and the
/// folders in it, as tools keep an address book that write a file per contact.
///
/// In a folder, files named *.vcf or *.vcard count, in any case and in the order of their paths.
/// Hidden ones and those of unfinished writes (`.…`, `~…`) do not, and links to folders are not
/// followed. What is missing, unreadable, no regular file or larger than an address book can be is
/// passed over in silence.
///
/// A pipe counts only where it is named itself. It is read until its last writer closes it, so it
/// gives its contacts once; one that nobody has open for writing is empty.
class VCardSource : public ContactSource {
public:
    explicit VCardSource(std::filesystem::path fileOrFolder);

    void forEachContact(const Visitor& visit) const override;

private:
    std::filesystem::path m_path;
};

} // namespace korvane
