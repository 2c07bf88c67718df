#include "storage/Paths.h"

#include <QDir>
#include <QStandardPaths>

namespace korvane {

// Names on a Mac's file systems are valid UTF-8, so nothing is lost in a QString.

std::filesystem::path Paths::home()
{
    return QDir::homePath().toStdString();
}

std::filesystem::path Paths::applicationData()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation).toStdString();
}

} // namespace korvane
