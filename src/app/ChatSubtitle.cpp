#include "app/ChatSubtitle.h"

#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>

namespace korvane {

namespace {

/// The locale's long form without the day of the week, the month abbreviated: "MMM d, yyyy". Qt has
/// no such form of its own.
QString abbreviatedForm(const QLocale& locale)
{
    static const QRegularExpression dayOfWeek(QStringLiteral("[\\s,،]*dddd[\\s,،]*"));
    QString form = locale.dateFormat(QLocale::LongFormat).remove(dayOfWeek);
    return form.replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
}

/// The date without time, in the system's time zone.
QString abbreviatedDate(ReferenceTime time)
{
    const std::chrono::duration<double> sinceEpoch
        = time + std::chrono::seconds(referenceDateUnixSeconds);
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(sinceEpoch);
    const QLocale locale;
    return locale.toString(
        QDateTime::fromMSecsSinceEpoch(milliseconds.count()).date(), abbreviatedForm(locale));
}

} // namespace

QString chatSubtitle(const ChatInfo& chat)
{
    QString messages = QLocale().toString(static_cast<qlonglong>(chat.messageCount))
        + QStringLiteral(" messages");
    if (!chat.lastDate)
        return messages;
    return messages + QStringLiteral(", last ") + abbreviatedDate(*chat.lastDate);
}

} // namespace korvane
