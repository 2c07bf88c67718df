#pragma once

#include "packaging/Command.h"

#include <QFileInfo>
#include <QTemporaryDir>

namespace korvane {

/// A user with contacts and a few chats, in whose shell korvane-sync is a command.
class Home {
public:
    explicit Home(int chats = 2, int messages = 60)
    {
        prepare(QStringLiteral(
            "mkdir -p ~/Library/Messages ~/.contacts\n"
            "korvane-sync sample ~/Library/Messages/chat.db --chats %1 --messages %2 "
            "--contacts ~/.contacts/people.vcf\n")
                    .arg(chats)
                    .arg(messages)
                    .toUtf8()
                    .constData());
    }

    QString path() const { return m_folder.path(); }

    /// The programs in `folder` become commands, too.
    void addPrograms(const QString& folder) { m_programs.prepend(folder + u':'); }

    /// Runs commands in the home folder. What they print on stderr is part of the output.
    Outcome run(const QString& commands) const
    {
        // None of these may name a folder or the contacts of whoever runs this test.
        QStringList arguments;
        for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR",
                 "DBUS_SESSION_BUS_ADDRESS", "KORVANE_SYNC_HOME"})
            arguments << QStringLiteral("-u") << QLatin1String(variable);
        arguments << QStringLiteral("sh") << QStringLiteral("-e") << QStringLiteral("-c")
                  << QStringLiteral("exec 2>&1; cd\n") + commands;
        return korvane::run(QStringLiteral("env"), arguments,
            {{QStringLiteral("HOME"), path()}, {QStringLiteral("TZ"), QStringLiteral("UTC")},
                {QStringLiteral("PATH"), m_programs + qEnvironmentVariable("PATH")}});
    }

    /// Runs commands that lead to what a section is about.
    void prepare(const char* commands) const
    {
        const Outcome outcome = run(QString::fromUtf8(commands));
        QVERIFY2(outcome.code == 0, outcome.said().constData());
    }

private:
    const QTemporaryDir m_folder;
    QString m_programs = QFileInfo(QStringLiteral(PROGRAM)).path() + u':';
};

} // namespace korvane
