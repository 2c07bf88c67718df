#include "app/FolderPicker.h"

#include <QApplication>
#include <QFileDialog>

namespace korvane {

std::optional<std::filesystem::path> pickFolder(const std::filesystem::path& start)
{
    const QString folder = QFileDialog::getExistingDirectory(QApplication::activeWindow(),
        QFileDialog::tr("Choose a folder for the export"), QString::fromStdString(start.native()));
    if (folder.isEmpty())
        return std::nullopt;
    return folder.toStdString();
}

} // namespace korvane
