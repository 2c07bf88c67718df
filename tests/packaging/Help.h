#pragma once

#include "Command.h"

#include <QRegularExpression>

#include <set>

namespace korvane {

inline const QStringList subcommands{QStringLiteral("chats"), QStringLiteral("export"),
    QStringLiteral("check"), QStringLiteral("read"), QStringLiteral("transfer"),
    QStringLiteral("receive"), QStringLiteral("backups"), QStringLiteral("sample")};

/// The texts that the first group of `pattern` captures in `text`, without duplicates.
inline std::set<QString> allMatches(const QString& pattern, const QString& text)
{
    std::set<QString> found;
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    for (auto match = expression.globalMatch(text); match.hasNext();)
        found.insert(match.next().captured(1));
    return found;
}

/// The long options that --help lists for a command of korvane-sync, without the dashes.
inline std::set<QString> optionsInHelp(const QString& subcommand)
{
    const Outcome help = run(QStringLiteral(PROGRAM), {subcommand, QStringLiteral("--help")});
    return allMatches(QStringLiteral("^ *(?:-\\w,)?--([a-z][a-z-]*)"), help.out);
}

/// The commands that the program's --help lists.
inline std::set<QString> subcommandsInHelp()
{
    const QString help = run(QStringLiteral(PROGRAM), {QStringLiteral("--help")}).out;
    return allMatches(
        QStringLiteral("^  ([a-z]+) "), help.mid(help.indexOf(QStringLiteral("Subcommands:"))));
}

/// The names as one text, for readable messages.
inline QString joined(const std::set<QString>& names)
{
    return QStringList(names.begin(), names.end()).join(QLatin1Char(' '));
}

} // namespace korvane
