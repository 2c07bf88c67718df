#include "sample/SampleDatabase.h"

#include "messages/DBError.h"
#include "messages/Sqlite.h"
#include "sample/NewFile.h"
#include "sample/SampleHistory.h"
#include "sample/SamplePeople.h"
#include "sample/SampleSchema.h"
#include "sample/SampleTables.h"

namespace korvane {

namespace {

constexpr std::int64_t messagesPerReport = 5000;

/// For a file that is new and thrown away if anything fails: nothing to roll back to.
constexpr const char* swiftWriting = "PRAGMA page_size = 4096;"
                                     "PRAGMA journal_mode = OFF;"
                                     "PRAGMA synchronous = OFF;"
                                     "PRAGMA locking_mode = EXCLUSIVE;"
                                     "PRAGMA cache_size = -65536;";

void report(const SampleProgress& progress, std::int64_t written)
{
    if (progress && !progress(written))
        throw DBError("Writing the sample was stopped.");
}

void writeRows(Sqlite& connection, const SampleSize& size, const SampleProgress& progress)
{
    const sample::SamplePeople people = sample::makeSamplePeople(size);
    sample::SampleTables tables(connection);
    tables.addPeople(people);
    sample::SampleHistory history(size, people);
    for (std::int64_t written = 0; written < size.messages; ++written) {
        if (written % messagesPerReport == 0)
            report(progress, written);
        tables.addMessage(history.next());
    }
    tables.finish();
}

void writeIndexes(Sqlite& connection, const SampleSize& size, const SampleProgress& progress)
{
    for (const char* statement : sample::indexesSql()) {
        report(progress, size.messages);
        connection.execute(statement);
    }
}

void writeDatabase(const std::string& path, const SampleSize& size, const SampleProgress& progress)
{
    Sqlite connection = Sqlite::openForWriting(path);
    connection.execute(swiftWriting);
    connection.execute("BEGIN");
    connection.execute(sample::tablesSql());
    writeRows(connection, size, progress);
    writeIndexes(connection, size, progress);
    connection.execute("COMMIT");
}

} // namespace

void writeSampleDatabase(
    const std::string& path, const SampleSize& size, const SampleProgress& progress)
{
    sample::NewFile file(path);
    writeDatabase(path, size, progress);
    report(progress, size.messages);
    file.keep();
}

} // namespace korvane
