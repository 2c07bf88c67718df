#include "CookbookFigures.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSet>
#include <QTimeZone>

#include <algorithm>
#include <cmath>
#include <set>
#include <tuple>
#include <vector>

namespace korvane {

namespace {

using Counts = std::map<QString, int>;

QString text(const QJsonObject& record, const char* key)
{
    return record[QLatin1String(key)].toString();
}

QString chatOf(const QJsonObject& record)
{
    return text(record, "conversationName");
}

bool isKind(const QJsonObject& record, const char* kind)
{
    return text(record, "recordKind") == QLatin1String(kind);
}

QDateTime timeOf(const QJsonObject& record)
{
    return QDateTime::fromString(text(record, "date"), Qt::ISODateWithMs);
}

QDate dayInBerlin(const QJsonObject& record)
{
    return timeOf(record).toTimeZone(QTimeZone("Europe/Berlin")).date();
}

template <typename IsWanted>
Records only(const Records& records, IsWanted isWanted)
{
    Records wanted;
    std::copy_if(records.begin(), records.end(), std::back_inserter(wanted), isWanted);
    return wanted;
}

Records messagesOf(const Records& records)
{
    return only(records, [](const QJsonObject& record) { return isKind(record, "message"); });
}

template <typename KeyOf>
Counts counted(const Records& records, KeyOf keyOf)
{
    Counts counts;
    for (const QJsonObject& record : records)
        counts[keyOf(record)] += 1;
    return counts;
}

/// "12 Ann": the highest count first, as sort -rn does.
QStringList highestFirst(const Counts& counts)
{
    std::vector<std::pair<int, QString>> sorted;
    for (const auto& [key, count] : counts)
        sorted.emplace_back(count, key);
    std::sort(sorted.rbegin(), sorted.rend());
    QStringList lines;
    for (const auto& [count, key] : sorted)
        lines << QString::number(count) + u' ' + key;
    return lines;
}

/// The most days in a row and their first day; the earlier of two streaks of one length.
std::pair<int, QDate> longestStreak(const std::set<QDate>& days)
{
    std::pair<int, QDate> longest{0, {}};
    for (const QDate& first : days) {
        int length = 1;
        while (days.count(first.addDays(length)) > 0)
            ++length;
        if (length > longest.first)
            longest = {length, first};
    }
    return longest;
}

QStringList monthly(const Records& records)
{
    QStringList lines;
    for (const auto& [month, count] : counted(messagesOf(records),
             [](const QJsonObject& record) { return text(record, "date").left(7); }))
        lines << QString::number(count) + u' ' + month;
    return lines.mid(lines.size() - 4);
}

QStringList perPerson(const Records& records)
{
    return highestFirst(counted(
        messagesOf(records), [](const QJsonObject& record) { return text(record, "sender"); }));
}

QStringList umbrellaAndBus(const Records& records)
{
    QStringList lines;
    for (const QJsonObject& record : records) {
        const QString body = text(record, "body");
        const QStringList bodyLines = body.toLower().split(u'\n');
        const bool isHit = std::any_of(bodyLines.begin(), bodyLines.end(), [](const QString& line) {
            const auto umbrella = line.indexOf(QStringLiteral("umbrella"));
            return umbrella >= 0 && line.indexOf(QStringLiteral("bus"), umbrella) > 0;
        });
        if (isHit) {
            lines << text(record, "date").left(10) + u' ' + text(record, "sender")
                    + QStringLiteral(": ") + body.simplified().left(60);
        }
    }
    return lines;
}

QStringList photosOfOneChat(const Records& records)
{
    QStringList lines;
    for (const QJsonObject& record : records) {
        const QString date = text(record, "date");
        const int photos = record[u"photoCount"].toInt();
        if (chatOf(record) == QStringLiteral("Kofi Bennett") && photos > 0
            && date >= QStringLiteral("2025-03") && date < QStringLiteral("2025-06"))
            lines << QStringLiteral("%1 %2 %3").arg(date, text(record, "sender")).arg(photos);
    }
    return lines;
}

QStringList kindsOfReactions(const Records& records)
{
    return highestFirst(
        counted(only(records, [](const QJsonObject& record) { return isKind(record, "reaction"); }),
            [](const QJsonObject& record) { return text(record, "reactionKind"); }));
}

QStringList streakOfAll(const Records& records)
{
    std::set<QDate> days;
    for (const QJsonObject& record : messagesOf(records))
        days.insert(dayInBerlin(record));
    const auto [length, first] = longestStreak(days);
    return {QStringLiteral("first last days"),
        QStringLiteral("%1 %2 %3")
            .arg(first.toString(Qt::ISODate), first.addDays(length - 1).toString(Qt::ISODate))
            .arg(length)};
}

/// "0 days 00:02:14": as pandas writes the middle one of some times in milliseconds.
QString median(std::vector<qint64> times)
{
    std::sort(times.begin(), times.end());
    const std::size_t half = times.size() / 2;
    const double middle = times.size() % 2 == 1
        ? static_cast<double>(times[half])
        : static_cast<double>(times[half - 1] + times[half]) / 2;
    const QTime clock = QTime(0, 0).addSecs(static_cast<int>(std::lround(middle / 1000)));
    return QStringLiteral("0 days ") + clock.toString(QStringLiteral("HH:mm:ss"));
}

QStringList timesToAnswer(const Records& records)
{
    std::map<QString, std::vector<qint64>> times;
    QJsonObject before;
    for (const QJsonObject& message : messagesOf(records)) {
        if (chatOf(before) == chatOf(message) && message[u"isOutgoing"].toBool()
            && !before[u"isOutgoing"].toBool())
            times[chatOf(message)].push_back(timeOf(before).msecsTo(timeOf(message)));
        before = message;
    }
    QStringList lines{QStringLiteral("conversationName")};
    for (const auto& [chat, waited] : times)
        lines << chat + u' ' + median(waited);
    return lines;
}

QStringList chatsByYear(const Records& records)
{
    std::map<QString, Counts> years;
    Counts all;
    for (const QJsonObject& message : messagesOf(records)) {
        const QString year = text(message, "date").left(4);
        years[chatOf(message)][year] += 1;
        all[year] += 1;
    }
    QStringList last;
    for (const auto& year : all)
        last << year.first;
    last = last.mid(last.size() - 4);
    QStringList lines{
        QStringLiteral("date ") + last.join(u' '), QStringLiteral("conversationName")};
    for (auto& [chat, counts] : years) {
        QString line = chat;
        for (const QString& year : last)
            line += u' ' + QString::number(counts[year]);
        lines << line;
    }
    return lines;
}

QStringList umbrellaAndSushi(const Records& records)
{
    static const QRegularExpression notWord(
        QStringLiteral("[^\\w]+"), QRegularExpression::UseUnicodePropertiesOption);
    std::vector<QString> hits;
    for (const QJsonObject& record : records) {
        const QStringList words = text(record, "body").toLower().split(notWord);
        if (text(record, "reactionKind").isEmpty() && words.contains(QStringLiteral("umbrella"))
            && words.contains(QStringLiteral("sushi")))
            hits.push_back(text(record, "date") + u' ' + text(record, "sender"));
    }
    std::sort(hits.begin(), hits.end());
    return {QStringLiteral("date sender"), hits.at(0), hits.at(1), hits.at(2)};
}

std::map<QString, QJsonObject> byID(const Records& records)
{
    std::map<QString, QJsonObject> found;
    for (const QJsonObject& record : records)
        found[text(record, "id")] = record;
    return found;
}

QStringList reactionsReceived(const Records& records)
{
    const auto targets = byID(records);
    std::map<std::pair<QString, QString>, int> counts;
    for (const QJsonObject& record : records) {
        const auto target = targets.find(text(record, "reactionTargetID"));
        if (isKind(record, "reaction") && target != targets.end())
            counts[{text(target->second, "sender"), text(record, "reactionKind")}] += 1;
    }
    std::vector<std::tuple<int, QString, QString>> sorted;
    for (const auto& [key, count] : counts)
        sorted.emplace_back(-count, key.first, key.second);
    std::sort(sorted.begin(), sorted.end());
    QStringList lines{QStringLiteral("sender reactionKind reactions")};
    for (const auto& [count, sender, kind] : sorted)
        lines << QStringLiteral("%1 %2 %3").arg(sender, kind).arg(-count);
    return lines.mid(0, 6);
}

QStringList repliesWithTargets(const Records& records)
{
    const auto targets = byID(records);
    std::map<QString, QString> byDate;
    for (const QJsonObject& record : records) {
        const auto target = targets.find(text(record, "replyToID"));
        if (target != targets.end()) {
            byDate[text(record, "date")] = text(record, "sender") + u' '
                + text(record, "body").left(20) + u' ' + text(target->second, "body").left(20);
        }
    }
    QStringList lines{QStringLiteral("sender reply replyTo")};
    for (auto reply = byDate.rbegin(); reply != byDate.rend() && lines.size() < 4; ++reply)
        lines << reply->second;
    return lines;
}

QStringList onThisDay(const Records& records)
{
    Counts counts;
    for (const QJsonObject& record : records) {
        const QString day = text(record, "date").left(10); // the test's time zone is UTC
        if (day.endsWith(QStringLiteral("-04-17"))
            && !text(record, "recordKind").startsWith(QStringLiteral("reaction")))
            counts[day + u' ' + chatOf(record)] += 1;
    }
    QStringList lines{QStringLiteral("day conversationName messages")};
    for (const auto& [dayAndChat, count] : counts)
        lines << dayAndChat + u' ' + QString::number(count);
    return lines;
}

QStringList nothing(const Records&)
{
    return {};
}

QStringList sentAndReceived(const Records& records)
{
    std::map<int, std::pair<int, int>> years;
    for (const QJsonObject& message : messagesOf(records)) {
        auto& [sent, received] = years[timeOf(message).date().year()];
        (message[u"isOutgoing"].toBool() ? sent : received) += 1;
    }
    QStringList lines{QStringLiteral("year sent received")};
    for (auto year = years.rbegin(); year != years.rend() && lines.size() < 5; ++year) {
        const auto [sent, received] = year->second;
        lines << QStringLiteral("%1 %2 %3").arg(year->first).arg(sent).arg(received);
    }
    return lines;
}

QStringList streaksOfChats(const Records& records)
{
    std::map<QString, std::set<QDate>> days;
    for (const QJsonObject& message : messagesOf(records))
        days[chatOf(message)].insert(timeOf(message).date());
    std::vector<std::tuple<int, QString, QDate>> sorted;
    for (const auto& [chat, ofChat] : days) {
        const auto [length, first] = longestStreak(ofChat);
        sorted.emplace_back(-length, chat, first);
    }
    std::sort(sorted.begin(), sorted.end());
    QStringList lines{QStringLiteral("chat days first")};
    for (const auto& [length, chat, first] : sorted)
        lines << QStringLiteral("%1 %2 %3").arg(chat).arg(-length).arg(first.toString(Qt::ISODate));
    return lines;
}

QStringList weekdays(const Records& records)
{
    std::map<int, int> counts;
    for (const QJsonObject& message : messagesOf(records))
        counts[dayInBerlin(message).dayOfWeek()] += 1;
    const QLocale english(QLocale::English);
    QStringList lines{QStringLiteral("weekday messages")};
    for (const auto& [day, count] : counts)
        lines << english.dayName(day) + u' ' + QString::number(count);
    return lines;
}

QStringList wrote(const Records& records)
{
    return {QStringLiteral("Wrote %1 records to messages.db")
                .arg(QLocale(QLocale::English).toString(records.size()))};
}

} // namespace

Records recordsInFolder(const QString& folder)
{
    Records records;
    for (const QFileInfo& info : QDir(folder).entryInfoList(QDir::Files)) {
        QFile file(info.filePath());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        while (!file.atEnd())
            records << QJsonDocument::fromJson(file.readLine()).object();
    }
    const auto order = [](const QJsonObject& record) {
        return std::tuple(chatOf(record), text(record, "date"),
            text(record, "id").section(u':', -1).toLongLong());
    };
    std::sort(
        records.begin(), records.end(), [&](const QJsonObject& one, const QJsonObject& other) {
            return order(one) < order(other);
        });
    return records;
}

const std::map<QString, std::function<QStringList(const Records&)>>& cookbookFigures()
{
    static const std::map<QString, std::function<QStringList(const Records&)>> figures{
        {QStringLiteral("Before you begin"), wrote},
        {QStringLiteral("jq: messages per month"), monthly},
        {QStringLiteral("jq: messages per person"), perPerson},
        {QStringLiteral("jq: search"), umbrellaAndBus},
        {QStringLiteral("jq: the photos of one chat"), photosOfOneChat},
        {QStringLiteral("jq: kinds of reactions"), kindsOfReactions},
        {QStringLiteral("pandas: the longest streak"), streakOfAll},
        {QStringLiteral("pandas: how fast you answer"), timesToAnswer},
        {QStringLiteral("pandas: chats by year"), chatsByYear},
        {QStringLiteral("sqlite-utils: search for words"), umbrellaAndSushi},
        {QStringLiteral("sqlite-utils: reactions received"), reactionsReceived},
        {QStringLiteral("sqlite-utils: replies and what they reply to"), repliesWithTargets},
        {QStringLiteral("sqlite-utils: what happened on this day"), onThisDay},
        {QStringLiteral("DuckDB: to Parquet"), nothing},
        {QStringLiteral("DuckDB: sent and received by year"), sentAndReceived},
        {QStringLiteral("DuckDB: the longest streak of each chat"), streaksOfChats},
        {QStringLiteral("DuckDB: the days of the week"), weekdays},
    };
    return figures;
}

} // namespace korvane
