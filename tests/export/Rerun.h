#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QProcess>
#include <QStringList>

#include <initializer_list>
#include <utility>

namespace korvane {

/// Runs some slots of this test program again in a new process with additional environment
/// variables. Returns an empty text if they pass, otherwise their output.
inline QByteArray rerun(std::initializer_list<const char*> slotNames,
    std::initializer_list<std::pair<const char*, QByteArray>> variables)
{
    QStringList arguments;
    for (const char* name : slotNames)
        arguments << QString::fromLatin1(name);
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : variables)
        environment.insert(QString::fromLatin1(name), QString::fromLatin1(value));
    QProcess again;
    again.setProcessEnvironment(environment);
    again.setProcessChannelMode(QProcess::MergedChannels);
    again.start(QCoreApplication::applicationFilePath(), arguments);
    again.waitForFinished(-1);
    const QByteArray printed = again.readAll();
    const bool passed = again.exitStatus() == QProcess::NormalExit && again.exitCode() == 0;
    return passed && printed.contains("PASS") ? QByteArray() : "Run again: " + printed;
}

} // namespace korvane
