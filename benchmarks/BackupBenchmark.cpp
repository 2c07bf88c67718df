// Measures opening an encrypted backup relative to decrypting as many bytes with OpenSSL alone,
// both with a key derivation of a few iterations, which takes no time. Arguments:
//   --quick        a small backup; the limits are reported, but not enforced
//   --rounds N     number of rounds, of which the median counts
//   --folder DIR   keeps the sample and its backup there for the next run
// All SQLite calls run in child processes, because sqlite3_config() must precede SQLite's first use
// in a process.

#include "Arguments.h"
#include "BareDecryption.h"
#include "Child.h"

#include "backup/Backup.h"
#include "backup/BackupIndex.h"
#include "backup/OpenedBackup.h"
#include "backup/PrivateFolder.h"
#include "messages/Sqlite.h"
#include "sample/SampleDatabase.h"

#include <QProcess>
#include <QTemporaryDir>

#include <filesystem>
#include <iostream>
#include <stdexcept>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

constexpr int iterations = 10;

void writeBackup(const std::string& folder, const std::string& database)
{
    QProcess writer;
    writer.start(QStringLiteral(PYTHON),
        {QStringLiteral("-B"), QStringLiteral(MAKE_BACKUP), QString::fromStdString(folder),
            QStringLiteral("--database"), QString::fromStdString(database),
            QStringLiteral("--password"), QStringLiteral("password"),
            QStringLiteral("--iterations"), QString::number(iterations)});
    if (!writer.waitForFinished(-1) || writer.exitCode() != 0)
        throw std::runtime_error(writer.readAllStandardError().toStdString());
}

/// The folder of the backup, which is written unless it is there from an earlier run.
std::string preparedBackup(const std::string& folder, const SampleSize& size)
{
    const std::string database = folder + "/" + std::to_string(size.messages) + ".db";
    const std::string backup = folder + "/" + std::to_string(size.messages);
    if (fs::exists(backup))
        return backup;
    fs::remove(database);
    inChild([&] { return secondsOf([&] { writeSampleDatabase(database, size); }); });
    writeBackup(backup, database);
    fs::remove(database);
    return backup;
}

double open(const std::string& folder)
{
    const BackupDialog dialog{.password = [] { return Secret(std::string_view("password")); },
        .onDeriving = [] {},
        .onDerived = [] {},
        .onCopying = [](std::int64_t, std::int64_t) {}};
    return secondsOf([&] {
        const OpenedBackup opened(Backup::read(folder), dialog, OpenedBackup::Contacts::Read);
        if (!opened.isInMemory())
            std::cout << "(There is no room in memory.)\n";
    });
}

/// Where the program would put the decrypted database.
std::string privateFile(std::int64_t bytes)
{
    return PrivateFolder(bytes, {}).path().parent_path() / "korvane-bare-decryption";
}

} // namespace

int main(int argc, char* argv[])
{
    Sqlite::configureProcess(); // before privateFile() uses SQLite
    const Arguments arguments(argc, argv);
    const bool quick = arguments.has("--quick");
    const int rounds = std::stoi(arguments.value("--rounds", "5"));
    const QTemporaryDir temporary;
    const std::string folder = arguments.value("--folder", temporary.path().toStdString());
    fs::create_directories(folder);

    const SampleSize size{.messages = quick ? 60'000 : 2'100'000, .chats = 300};
    const std::string backup = preparedBackup(folder, size);
    const std::string id = fileID(messagesPath);
    const std::string file = backup + '/' + id.substr(0, 2) + '/' + id;
    const std::string copy = privateFile(static_cast<std::int64_t>(fs::file_size(file)));
    const auto costs
        = medians({[&] { return open(backup); },
                      [&] {
                          return secondsOf([&] {
                              decryptBarely(file, copy, iterations);
                              fs::remove(copy);
                          });
                      },
                      [&] { return secondsOf([&] { decryptBarely(file, "", iterations); }); }},
            rounds);
    constexpr double mebi = 1024.0 * 1024.0;
    std::cout << static_cast<double>(fs::file_size(file)) / mebi << " MiB of messages: opened in "
              << costs[0].seconds << " s\n";
    bool good = report("  opening / decrypting into a file with OpenSSL",
        costs[0].seconds / costs[1].seconds, 1.5);
    std::cout << "  opening / reading and decrypting, without writing: "
              << costs[0].seconds / costs[2].seconds << " ×\n";
    good = report("  peak memory", static_cast<double>(costs[0].peakBytes) / mebi, 64, "MiB")
        && good;
    return good || quick ? 0 : 1; // a small backup proves nothing about speed
}
