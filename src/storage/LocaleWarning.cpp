#include "storage/LocaleWarning.h"

#include <QString>
#include <QtCore/qlogging.h>

namespace korvane {

namespace {

QtMessageHandler otherwise = nullptr;

void allButTheLocale(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type != QtWarningMsg || !text.startsWith(QStringLiteral("Detected locale ")))
        otherwise(type, context, text);
}

} // namespace

void suppressLocaleWarning()
{
    otherwise = qInstallMessageHandler(allButTheLocale);
}

} // namespace korvane
