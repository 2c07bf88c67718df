#pragma once

#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <optional>
#include <string>

namespace korvane {

/// Runs the QR reader "zbarimg" on an image and returns the bytes that it decodes; nullopt if it
/// finds no code. A code with no content yields an empty text.
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
