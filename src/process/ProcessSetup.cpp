#include "process/ProcessSetup.h"

#include <QString>
#include <QtCore/qlogging.h>

#include <sys/resource.h>

#include <algorithm>
#include <csignal>

namespace korvane {

namespace {

QtMessageHandler otherwise = nullptr;

void allButTheLocale(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type != QtWarningMsg || !text.startsWith(QStringLiteral("Detected locale ")))
        otherwise(type, context, text);
}

} // namespace

void ProcessSetup::suppressLocaleWarning()
{
    otherwise = qInstallMessageHandler(allButTheLocale);
}

void ProcessSetup::raiseDescriptorLimit()
{
    constexpr rlim_t wanted = 1024;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted)
        return;
    limit.rlim_cur = std::min(wanted, limit.rlim_max);
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

void ProcessSetup::ignoreFileSizeSignal()
{
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace korvane
