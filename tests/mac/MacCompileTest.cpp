#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <cstdio>
#include <optional>

/// Compiles every C++ file that CMake picks for a Mac, with the C and C++ headers of macOS and this
/// system's headers of the libraries. Nothing is linked. The objects are kept, so that the next run
/// compiles only what changed. Objective-C++ needs frameworks; DarwinConfigureTest checks it.
class MacCompileTest : public QObject {
    Q_OBJECT

    const QString m_build = QStringLiteral(OBJECTS);
    QMap<QString, QString> m_commands; ///< by object file

    /// Runs a program. Returns its output if it failed, else nothing.
    std::optional<QString> failure(const QString& program, const QStringList& arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(
            QStringLiteral("ZIG_GLOBAL_CACHE_DIR"), m_build + QStringLiteral("/cache"));
        environment.insert(
            QStringLiteral("ZIG_LOCAL_CACHE_DIR"), m_build + QStringLiteral("/cache"));
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.setWorkingDirectory(m_build);
        process.start(program, arguments);
        if (process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit
            && process.exitCode() == 0)
            return std::nullopt;
        return process.errorString() + u'\n' + QString::fromUtf8(process.readAll());
    }

    void readCommands()
    {
        QFile file(m_build + QStringLiteral("/compile_commands.json"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        static const QRegularExpression object(QStringLiteral(" -o (\\S+)"));
        for (const QJsonValue unit : QJsonDocument::fromJson(file.readAll()).array()) {
            const QString command = unit[u"command"].toString();
            if (unit[u"file"].toString().endsWith(QStringLiteral(".cpp")))
                m_commands.insert(object.match(command).captured(1), command);
        }
    }

    /// The names of the files that a Mac compiles. Desktops on Linux have the contacts elsewhere.
    static QStringList sourcesOfTheMac()
    {
        static const QStringList elsewhere{
            QStringLiteral("EvolutionSource.cpp"), QStringLiteral("SessionBus.cpp")};
        QStringList names;
        QDirIterator file(QStringLiteral(SOURCE "/src"), {QStringLiteral("*.cpp")}, QDir::Files,
            QDirIterator::Subdirectories);
        while (file.hasNext()) {
            file.next();
            if (!file.fileName().endsWith(QStringLiteral("_linux.cpp"))
                && !elsewhere.contains(file.fileName()))
                names.append(file.fileName());
        }
        return names;
    }

    /// Compiles a file with this text as LocalAddress.cpp is compiled. Returns the compiler's
    /// messages if it failed.
    std::optional<QString> complaint(const QByteArray& text) const
    {
        const QString object
            = QStringLiteral("src/pairing/CMakeFiles/korvane-pairing.dir/LocalAddress.cpp.o");
        QStringList command = QProcess::splitCommand(m_commands[object]);
        const QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("Some.cpp")));
        if (command.isEmpty() || !file.open(QIODevice::WriteOnly))
            return QStringLiteral("It was not compiled.");
        file.write(text);
        file.close();
        command.last() = file.fileName();
        command[command.indexOf(QStringLiteral("-o")) + 1]
            = folder.filePath(QStringLiteral("Some.o"));
        const QString compiler = command.takeFirst();
        return failure(compiler, command);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(QDir().mkpath(m_build));
        const auto failed = failure(QStringLiteral(CMAKE),
            {QStringLiteral("-G"), QStringLiteral("Ninja"), QStringLiteral("-S"),
                QStringLiteral(SOURCE), QStringLiteral("-B"), m_build,
                QStringLiteral("-DCMAKE_TOOLCHAIN_FILE=" SOURCE "/tests/mac/darwin-zig.cmake"),
                QStringLiteral("-DCMAKE_LIBRARY_ARCHITECTURE=" LIBRARY_ARCHITECTURE),
                QStringLiteral("-DKORVANE_ZIG=" ZIG), QStringLiteral("-DKORVANE_HEADERS=" HEADERS),
                QStringLiteral("-DKORVANE_TESTS=OFF")});
        QVERIFY2(!failed, qPrintable(failed.value_or(QString())));
        readCommands();
    }

    void headersAreThoseOfMacOS()
    {
        QCOMPARE(complaint("#include <sys/event.h>\nint queue() { return kqueue(); }\n"),
            std::optional<QString>());
        QVERIFY(complaint("#include <sys/epoll.h>\n")
                    .value_or(QString())
                    .contains(QStringLiteral("'sys/epoll.h' file not found")));
        QVERIFY(complaint("#include <features.h>\n")
                    .value_or(QString())
                    .contains(QStringLiteral("'features.h' file not found")));
    }

    void everySourceFileOfTheMacCompiles()
    {
        for (const QString& name : sourcesOfTheMac())
            QVERIFY2(!m_commands.keys().filter(u'/' + name + QStringLiteral(".o")).isEmpty(),
                qPrintable(name + QStringLiteral(" is not compiled")));
        const auto failed = failure(QStringLiteral("ninja"),
            QStringList{QStringLiteral("--quiet"), QStringLiteral("-k"), QStringLiteral("0")}
                + m_commands.keys());
        if (failed)
            std::fputs(qPrintable(*failed), stderr); // QTest truncates long messages
        QVERIFY(!failed);
        for (auto [object, command] : m_commands.asKeyValueRange())
            QVERIFY2(QFile::exists(m_build + u'/' + object), qPrintable(object));
    }
};

QTEST_GUILESS_MAIN(MacCompileTest)
#include "MacCompileTest.moc"
