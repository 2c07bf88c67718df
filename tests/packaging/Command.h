#pragma once

#include <QProcess>
#include <QStandardPaths>
#include <QtTest/QTest>

#include <utility>
#include <vector>

namespace korvane {

/// The result of a program that was run to its end.
struct Outcome {
    int code = -1; ///< -1 if it did not start, crashed or timed out
    QString out;
    QString err;

    QByteArray said() const { return (out + err).toUtf8(); }
};

using Variables = std::vector<std::pair<QString, QString>>;

/// Runs a program in this process's environment, with LC_ALL=C.UTF-8 and with `variables` set.
inline Outcome run(
    const QString& program, const QStringList& arguments, const Variables& variables = {})
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    for (const auto& [name, value] : variables)
        environment.insert(name, value);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        return {-1, {}, process.errorString()};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
        QString::fromUtf8(process.readAllStandardError())};
}

} // namespace korvane

/// Skips the test if the program is not installed on this machine.
#define NEEDS_PROGRAM(name)                                                                        \
    if (QStandardPaths::findExecutable(QStringLiteral(name)).isEmpty())                            \
    QSKIP("There is no " name " here.")
