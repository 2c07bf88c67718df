#include "storage/SupportLock.h"

#include "storage/OutputFile.h"
#include "storage/Paths.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>

namespace korvane {

namespace {

std::string noteOfThisProcess()
{
    const QString program = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    return std::to_string(QCoreApplication::applicationPid()) + "\n" + program.toStdString() + "\n";
}

/// "korvane-sync, process 4711". The holder may not have written its note yet.
std::string holder(const FileLock& file)
{
    std::istringstream note(file.note());
    std::string process;
    std::string program;
    const bool isWhole = std::getline(note, process) && std::getline(note, program) && !note.eof();
    return isWhole ? program + ", process " + process : "another program";
}

/// True if files can be created and written in the folder, as the export state is after the export:
/// without its progress, the next export would append the same messages again. That the lock file
/// of an earlier export can be opened and locked does not show it, because the folder may have
/// become read-only since, or the disk full.
bool acceptsFiles(const SupportFolder& support)
try {
    const std::filesystem::path probe = support.file("export.probe");
    OutputFile(probe).append("\n");
    std::filesystem::remove(probe);
    return true;
} catch (const std::system_error&) {
    return false;
}

[[noreturn]] void throwUnwritable(const SupportFolder& support)
{
    throw std::runtime_error("Can't write to the support folder " + support.path().string() + ".");
}

} // namespace

SupportLock::SupportLock(const SupportFolder& support, Use use)
    : m_file(support.file("export.lock"))
{
    switch (m_file.tryLock()) {
    case FileLock::Outcome::Held:
    case FileLock::Outcome::Unsupported:
        m_file.leaveNote(noteOfThisProcess());
        if (use == Use::Export && !acceptsFiles(support))
            throwUnwritable(support);
        return;
    case FileLock::Outcome::HeldByAnother:
        throw std::runtime_error("Another export is running (" + holder(m_file) + ").");
    case FileLock::Outcome::Failed:
        throwUnwritable(support);
    }
}

} // namespace korvane
