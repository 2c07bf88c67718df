#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QString>

namespace korvane {

/// The standard output of `program`; empty if it fails.
inline QByteArray printedBy(const QString& program, const QStringList& arguments)
{
    constexpr int timeout = 20000; // milliseconds
    QProcess process;
    process.start(program, arguments);
    const bool isOver = process.waitForFinished(timeout);
    if (isOver && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return process.readAllStandardOutput();
    qWarning().noquote() << process.readAllStandardError();
    return {};
}

/// Reads a property list, or a YAML file if `module` is "yaml". Empty if the file is invalid.
inline QJsonObject readBy(const QString& module, const QString& path)
{
    const QString script = module == QLatin1String("yaml")
        ? QStringLiteral("import json, sys, yaml\n"
                         "print(json.dumps(yaml.safe_load(open(sys.argv[1], 'rb'))))")
        : QStringLiteral("import json, plistlib, sys\n"
                         "print(json.dumps(plistlib.load(open(sys.argv[1], 'rb'))))");
    const QByteArray json = printedBy(QStringLiteral(PYTHON), {QStringLiteral("-c"), script, path});
    return QJsonDocument::fromJson(json).object();
}

inline QJsonObject readPlist(const QString& path)
{
    return readBy(QStringLiteral("plistlib"), path);
}

} // namespace korvane
