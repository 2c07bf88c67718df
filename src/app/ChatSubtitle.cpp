#include "app/ChatSubtitle.h"

#include <QDateTime>
#include <QLocale>

namespace korvane {

namespace {

bool isSeparator(QChar character)
{
    return character.isSpace() || character == u',' || character == u'،';
}

/// Removes "dddd" from a date format, and the spaces and commas around it.
QString withoutDayOfWeek(QString form)
{
    const QLatin1String day("dddd");
    qsizetype begin = form.indexOf(day);
    if (begin < 0)
        return form;
    qsizetype end = begin + day.size();
    while (begin > 0 && isSeparator(form[begin - 1]))
        --begin;
    while (end < form.size() && isSeparator(form[end]))
        ++end;
    return form.remove(begin, end - begin);
}

/// The locale's long date format without the day of the week and with an abbreviated month, such as
/// "MMM d, yyyy". QLocale has no such format.
QString abbreviatedForm(const QLocale& locale)
{
    return withoutDayOfWeek(locale.dateFormat(QLocale::LongFormat))
        .replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
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
