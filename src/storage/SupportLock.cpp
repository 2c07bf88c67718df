#include "storage/SupportLock.h"

#include "storage/Paths.h"

#include <optional>
#include <string>

namespace korvane {

namespace {

/// A lock file without a holder's name that is older than this is stale: the machine crashed before
/// the name was on disk. In a younger one, the holder may be just about to write its name.
constexpr int millisecondsToWriteName = 10'000;

QString lockPath()
{
    return QString::fromStdString((Paths::support() / "export.lock").native());
}

std::optional<std::string> holder(const QLockFile& file)
{
    qint64 process = 0;
    QString host;
    QString program;
    if (!file.getLockInfo(&process, &host, &program))
        return std::nullopt;
    return program.toStdString() + ", process " + std::to_string(process);
}

std::string reason(const QLockFile& file)
{
    if (file.error() == QLockFile::LockFailedError)
        return "Another export is running (" + holder(file).value_or("another program") + ").";
    return "Can't write to the support folder " + Paths::support().string() + ".";
}

} // namespace

SupportLock::SupportLock() : m_file(lockPath())
{
    m_file.setStaleLockTime(0); // a lock never expires by age, only if its holder is dead
    if (m_file.tryLock(0))
        return;
    if (!holder(m_file)) {
        m_file.setStaleLockTime(millisecondsToWriteName);
        if (m_file.tryLock(0))
            return;
    }
    throw std::runtime_error(reason(m_file));
}

} // namespace korvane
