#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>

namespace korvane {

/// Records of an archive, ordered by chat, date and row id.
using Records = QList<QJsonObject>;

/// Reads the export files of a folder, which must be intact: no line is torn, no id repeats.
Records recordsInFolder(const QString& folder);

/// What each recipe of docs/cookbook.md must print, by the title of its section: a function that
/// counts it in the records. In its lines, words and cells are separated by one space.
const std::map<QString, std::function<QStringList(const Records&)>>& cookbookFigures();

} // namespace korvane
