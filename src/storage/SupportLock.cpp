#include "storage/SupportLock.h"

#include "storage/Paths.h"

#include <string>

namespace korvane {

namespace {

    QString lockPath()
    {
        return QString::fromStdString((Paths::support() / "export.lock").native());
    }

    std::string holder(const QLockFile& file)
    {
        qint64 process = 0;
        QString host;
        QString program;
        if (!file.getLockInfo(&process, &host, &program))
            return "another program";
        return program.toStdString() + ", process " + std::to_string(process);
    }

    std::string reason(const QLockFile& file)
    {
        if (file.error() == QLockFile::LockFailedError)
            return "Another export is running (" + holder(file) + ").";
        return "Can't write to the support folder " + Paths::support().string() + ".";
    }

} // namespace

SupportLock::SupportLock()
    : m_file(lockPath())
{
    m_file.setStaleLockTime(0); // however old: only the holder's death frees it
    if (!m_file.tryLock(0))
        throw std::runtime_error(reason(m_file));
}

} // namespace korvane
