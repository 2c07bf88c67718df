#include "check/KeptRecords.h"

#include "export/Record.h"
#include "storage/FileReader.h"

#include <set>
#include <string_view>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

/// A file whose comparison with the database is still pending has the additional suffix.
bool isNameOfKeptFile(std::string_view name)
{
    return name.ends_with(".jsonl.txt") || name.ends_with(".jsonl.txt.unchecked");
}

std::set<fs::path> keptFiles(const fs::path& folder)
{
    std::set<fs::path> files;
    std::error_code ignored;
    if (!fs::is_directory(fs::symlink_status(folder, ignored)))
        return files;
    for (fs::directory_iterator entry(folder, ignored), end; entry != end;
         entry.increment(ignored)) {
        if (isNameOfKeptFile(entry->path().filename().string()))
            files.insert(entry->path());
    }
    return files;
}

bool countRecordsOf(const fs::path& path, KeptRecords& kept, const std::function<void()>& onLine)
{
    const auto file = FileReader::open(path);
    return file && forEachLine(*file, [&](std::string_view line, bool /*hasLineFeed*/) {
        onLine();
        if (const auto record = Record::fromLine(line))
            kept.byChat[record->conversationID] += 1;
    });
}

} // namespace

KeptRecords keptRecords(const fs::path& exportFolder, const std::function<void()>& onLine)
{
    KeptRecords kept;
    for (const fs::path& path : keptFiles(exportFolder / "Kept")) {
        if (!countRecordsOf(path, kept, onLine))
            kept.errors.push_back("Kept/" + path.filename().string() + ": The file can't be read.");
    }
    return kept;
}

} // namespace korvane
