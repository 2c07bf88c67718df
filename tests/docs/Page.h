#pragma once

#include <QFile>
#include <QRegularExpression>
#include <QString>

#include <vector>

namespace korvane {

/// Commands in a page of docs/, and what they print.
struct Example {
    QString language; ///< "sh" or "python"
    QString commands;
    int code = 0; ///< exit code
    QString output;
};

/// What is below one heading of a page.
struct Section {
    QString title;
    std::vector<Example> examples;
};

/// The sections of a Markdown page that have examples. An example is a block of "sh" or "python",
/// directly followed by a block of "text" if it prints anything. "sh exits with 1" stands for exit
/// code 1.
inline std::vector<Section> sectionsOf(const QString& page)
{
    static const QRegularExpression example(
        QStringLiteral(
            "^```(sh|python)(?: exits with (\\d+))?\n(.*?)^```\n(?:\n```text\n(.*?)^```\n)?"),
        QRegularExpression::MultilineOption | QRegularExpression::DotMatchesEverythingOption);
    std::vector<Section> sections;
    const QStringList parts = page.split(QStringLiteral("\n## ")).mid(1);
    for (const QString& part : parts) {
        Section section{part.section(u'\n', 0, 0), {}};
        for (auto match = example.globalMatch(part); match.hasNext();) {
            const QRegularExpressionMatch found = match.next();
            section.examples.push_back({found.captured(1), found.captured(3),
                found.captured(2).toInt(), found.captured(4)});
        }
        if (!section.examples.empty())
            sections.push_back(std::move(section));
    }
    return sections;
}

/// The text of a page, or "" if it cannot be read.
inline QString textOfPage(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace korvane
