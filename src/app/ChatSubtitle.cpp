#include "app/ChatSubtitle.h"

#include <QLocale>

#include <unicode/datefmt.h>

#include <memory>

namespace korvane {

namespace {

/// The date without time, in the system's time zone. Qt has a short and a long form, but not the
/// one in between.
QString abbreviatedDate(ReferenceTime time)
{
    static const std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createDateInstance(icu::DateFormat::kMedium));
    if (!format)
        return {};
    constexpr double millisecondsPerSecond = 1000;
    const UDate date
        = (time.count() + static_cast<double>(referenceDateUnixSeconds)) * millisecondsPerSecond;
    icu::UnicodeString text;
    format->format(date, text);
    return QString(reinterpret_cast<const QChar*>(text.getBuffer()), text.length());
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
