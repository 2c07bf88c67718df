#include "sample/SampleDatabase.h"

#include "messages/Sqlite.h"
#include "sample/History.h"
#include "sample/People.h"
#include "sample/Tables.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace korvane {

namespace {

/// Creates a file, and removes it on destruction unless commit() was called.
class NewFile {
public:
    /// Throws DBError if `path` exists or cannot be created.
    explicit NewFile(const std::string& path);
    ~NewFile();

    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void commit() { m_committed = true; }

private:
    std::string m_path;
    bool m_committed = false;
};

NewFile::NewFile(const std::string& path) : m_path(path)
{
    // "x" checks and creates in one step. A file that appears after a separate check would be
    // overwritten.
    std::FILE* file = std::fopen(path.c_str(), "wbx");
    if (file) {
        std::fclose(file);
        return;
    }
    const int error = errno;
    if (error == EEXIST)
        throw DBError(path + " exists already.");
    throw DBError("Can't write " + path + ": " + std::generic_category().message(error));
}

NewFile::~NewFile()
{
    std::error_code ignored;
    if (!m_committed)
        std::filesystem::remove(m_path, ignored);
}

constexpr std::int64_t maxChats = 1'000'000;

void checkSize(const SampleSize& size)
{
    if (size.messages < 0 || size.chats < 0 || size.chats > maxChats)
        throw DBError(
            "A sample has 0 or more messages in at most " + std::to_string(maxChats) + " chats.");
}

constexpr std::int64_t messagesPerReport = 5000;

/// No journal and no sync: after a failure the new file is removed, so a rollback is never needed.
constexpr const char* bulkLoadPragmas = "PRAGMA page_size = 4096;"
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
    const sample::People people = sample::makePeople(size.chats, size.seed);
    sample::Tables tables(connection);
    tables.addPeople(people);
    sample::History history(size.messages, size.seed, people);
    for (std::int64_t written = 0; written < size.messages; ++written) {
        if (written % messagesPerReport == 0)
            report(progress, written);
        tables.addMessage(history.next());
    }
    tables.flush();
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
    connection.execute(bulkLoadPragmas);
    connection.execute("BEGIN");
    connection.execute(sample::tablesSql());
    writeRows(connection, size, progress);
    writeIndexes(connection, size, progress);
    connection.execute("COMMIT");
}

/// A vCard text value: commas, semicolons and backslashes are separators unless escaped.
std::string escaped(std::string_view text)
{
    std::string value;
    for (const char character : text) {
        if (character == ',' || character == ';' || character == '\\')
            value += '\\';
        value += character;
    }
    return value;
}

std::string formattedName(const sample::Card& card)
{
    if (card.givenName.empty())
        return card.organization;
    return card.givenName + " " + card.familyName;
}

void appendLine(std::string& text, std::string_view property, std::string_view value)
{
    text.append(property).append(":").append(value).append("\r\n");
}

std::string vCard(const sample::Card& card)
{
    std::string text;
    appendLine(text, "BEGIN", "VCARD");
    appendLine(text, "VERSION", "3.0");
    appendLine(text, "FN", escaped(formattedName(card)));
    appendLine(text, "N", escaped(card.familyName) + ";" + escaped(card.givenName) + ";;;");
    if (!card.organization.empty())
        appendLine(text, "ORG", escaped(card.organization));
    for (const std::string& number : card.phoneNumbers)
        appendLine(text, "TEL;TYPE=CELL", number);
    for (const std::string& address : card.emailAddresses)
        appendLine(text, "EMAIL;TYPE=INTERNET", address);
    appendLine(text, "END", "VCARD");
    return text;
}

} // namespace

void writeSampleDatabase(
    const std::string& path, const SampleSize& size, const SampleProgress& progress)
{
    NewFile file(path);
    checkSize(size);
    writeDatabase(path, size, progress);
    report(progress, size.messages);
    file.commit();
}

void writeSampleContacts(const std::string& path, const SampleSize& size)
{
    NewFile file(path);
    checkSize(size);
    std::ofstream out(path, std::ios::binary);
    for (const sample::Card& card : sample::makePeople(size.chats, size.seed).cards)
        out << vCard(card);
    out.close();
    if (!out)
        throw DBError("Can't write " + path);
    file.commit();
}

} // namespace korvane
