#pragma once

#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <optional>
#include <string>

namespace korvane {

/// What the QR reader "zbarimg" finds in an image, byte for byte; nothing where it finds no code.
/// An empty code reads as the empty text.
inline std::optional<std::string> readBack(const QImage& image)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("code.png"));
    QProcess reader;
    if (!image.save(file))
        return std::nullopt;
    reader.start(QStringLiteral("zbarimg"),
        {QStringLiteral("--raw"), QStringLiteral("-q"), QStringLiteral("-Sbinary"), file});
    const bool ended = reader.waitForFinished();
    if (!ended || reader.exitStatus() != QProcess::NormalExit || reader.exitCode() != 0)
        return std::nullopt;
    return reader.readAllStandardOutput().toStdString();
}

} // namespace korvane
