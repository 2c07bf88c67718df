#include "storage/SupportLock.h"

#include "storage/Paths.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <sstream>
#include <stdexcept>
#include <string>

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

} // namespace

SupportLock::SupportLock(const SupportFolder& support) : m_file(support.file("export.lock"))
{
    switch (m_file.tryLock()) {
    case FileLock::Outcome::Held:
        m_file.leaveNote(noteOfThisProcess());
        return;
    case FileLock::Outcome::HeldByAnother:
        throw std::runtime_error("Another export is running (" + holder(m_file) + ").");
    case FileLock::Outcome::Failed:
        throw std::runtime_error(
            "Can't write to the support folder " + support.path().string() + ".");
    }
}

} // namespace korvane
