#include "mac/Plist.h"

#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest/QTest>

using namespace korvane;
using namespace Qt::StringLiterals;

/// Configures the build as for a Mac. Checks which files it picks, what they are linked with, what
/// the bundle's property list says, and the syntax of the files that only a Mac compiles.
class DarwinConfigureTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_build;
    QMap<QString, QString> m_commands; ///< by source file

    static QString source(const QString& path) { return QStringLiteral(SOURCE "/") + path; }
    static QString tests(const QString& path) { return source(u"tests/mac/"_s + path); }

    QByteArray content(const QString& name) const
    {
        QFile file(m_build.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    static QSet<QString> sourcesLike(const QString& pattern)
    {
        QSet<QString> files;
        QDirIterator entries(
            source(u"src"_s), {pattern}, QDir::Files, QDirIterator::Subdirectories);
        while (entries.hasNext())
            files.insert(entries.next());
        return files;
    }

    static QSet<QString> macSources()
    {
        return sourcesLike(u"*_mac.cpp"_s) + sourcesLike(u"*_mac.mm"_s) + sourcesLike(u"*.mm"_s);
    }

    /// Checks the syntax of `file` by the Mac's command, without options `less` and with `more`.
    /// Returns the compiler's messages if it failed, else "".
    QString complaints(const QString& file, const QStringList& less, const QStringList& more) const
    {
        QStringList command = QProcess::splitCommand(m_commands[file]);
        if (command.isEmpty())
            return u"The Mac does not compile it."_s;
        const QString compiler = command.takeFirst();
        for (const QString& option : less)
            command.removeAll(option);
        QProcess process;
        process.setWorkingDirectory(m_build.path());
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(compiler, command + more + QStringList{u"-fsyntax-only"_s});
        if (!process.waitForFinished(120000))
            return u"The compiler does not end."_s;
        const QString said = QString::fromUtf8(process.readAll());
        return process.exitCode() == 0 ? QString() : u"It failed. "_s + said;
    }

    void readCommands()
    {
        const auto units = QJsonDocument::fromJson(content(u"compile_commands.json"_s)).array();
        for (const QJsonValue unit : units) {
            const QString command = unit[u"command"].toString();
            if (command.contains(u" -o src/"_s)) // tests compile some files again
                m_commands.insert(unit[u"file"].toString(), command);
        }
    }

private slots:
    void initTestCase()
    {
        QProcess cmake;
        cmake.setProcessChannelMode(QProcess::MergedChannels);
        cmake.start(QStringLiteral(CMAKE),
            {u"-G"_s, u"Ninja"_s, u"-S"_s, source(QString()), u"-B"_s, m_build.path(),
                u"-DCMAKE_TOOLCHAIN_FILE="_s + tests(u"darwin-claim.cmake"_s),
                QStringLiteral("-DCMAKE_LIBRARY_ARCHITECTURE=" LIBRARY_ARCHITECTURE),
                QStringLiteral("-DKORVANE_WERROR=" WERROR),
                u"-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON"_s});
        QVERIFY(cmake.waitForFinished(240000));
        QVERIFY2(cmake.exitCode() == 0, cmake.readAll().constData());
        readCommands();
    }

    void filesOfTheMacAreBuiltAndNoOthers()
    {
        const QSet<QString> built(m_commands.keyBegin(), m_commands.keyEnd());
        QVERIFY(macSources().size() >= 6);
        QCOMPARE(macSources() - built, QSet<QString>());
        QCOMPARE(sourcesLike(u"*_linux.cpp"_s) & built, QSet<QString>());
        QVERIFY(built.contains(source(u"src/contacts/VCard.cpp"_s)));
    }

    void nothingOfAnotherDesktopIsBuilt()
    {
        QVERIFY(!m_commands.contains(source(u"src/contacts/EvolutionSource.cpp"_s)));
        QVERIFY(!m_commands[source(u"src/contacts/VCard.cpp"_s)].contains(u"QtDBus"_s));
    }

    void macFilesCompile_data()
    {
        QTest::addColumn<QString>("file");
        for (const QString& file : sourcesLike(u"*_mac.cpp"_s))
            QTest::newRow(qPrintable(QFileInfo(file).fileName())) << file;
    }

    void macFilesCompile()
    {
        QFETCH(const QString, file);
        const QStringList onlyOnAMac{u"-DSO_NOSIGPIPE=0x1022"_s, u"-DSO_NWRITE=0x1024"_s};
        QCOMPARE(complaints(file, {}, onlyOnAMac), QString());
    }

    void contactsCompileForTheRuntimeOfTheMac_data()
    {
        QTest::addColumn<QStringList>("less");
        QTest::newRow("with automatic reference counting") << QStringList();
        QTest::newRow("without") << QStringList{u"-fobjc-arc"_s};
    }

    void contactsCompileForTheRuntimeOfTheMac()
    {
        QFETCH(const QStringList, less);
        const QString adapter = source(u"src/contacts/ContactsFrameworkSource.mm"_s);
        QVERIFY(m_commands[adapter].contains(u" -fobjc-arc "_s));
        QCOMPARE(complaints(adapter, less,
                     {u"-fblocks"_s, u"-fobjc-runtime=macosx-13.0"_s, u"-isystem"_s,
                         tests(u"foundation"_s), u"-isystem"_s, tests(QString())}),
            QString());
    }

    void programsAreLinkedWithTheContactsFramework()
    {
        const QByteArray rules = content(u"build.ninja"_s);
        QVERIFY(rules.contains("-framework Contacts"));
        QVERIFY(rules.contains("-framework Foundation"));
    }

    void bundleSaysWhatItIs()
    {
        const QJsonObject says
            = readPlist(m_build.filePath(u"src/app/KorvaneSync.app/Contents/Info.plist"_s));
        QCOMPARE(says[u"CFBundleIdentifier"], u"app.korvane.KorvaneSync"_s);
        QCOMPARE(says[u"CFBundleName"], u"KorvaneSync"_s);
        QCOMPARE(says[u"CFBundleExecutable"], u"KorvaneSync"_s);
        QCOMPARE(says[u"CFBundleIconFile"], u"KorvaneSync.icns"_s);
        QCOMPARE(says[u"CFBundlePackageType"], u"APPL"_s);
        QCOMPARE(says[u"CFBundleShortVersionString"], QStringLiteral(VERSION));
        QCOMPARE(says[u"CFBundleVersion"], QStringLiteral(VERSION));
        QCOMPARE(says[u"LSMinimumSystemVersion"], u"14.0"_s);
        QCOMPARE(says[u"LSUIElement"], true);
        QCOMPARE(says[u"NSPrincipalClass"], u"NSApplication"_s);
        QCOMPARE(says[u"NSHighResolutionCapable"], true);
        QVERIFY(!says[u"NSContactsUsageDescription"].toString().isEmpty());
        QVERIFY(!says[u"NSLocalNetworkUsageDescription"].toString().isEmpty());
    }

    void terminalProgramCarriesWhatItIs()
    {
        const QString plist = m_build.filePath(u"Tool-Info.plist"_s);
        const QJsonObject says = readPlist(plist);
        QCOMPARE(says[u"CFBundleIdentifier"], u"app.korvane.korvane-sync"_s);
        QCOMPARE(says[u"CFBundleVersion"], QStringLiteral(VERSION));
        QVERIFY(!says[u"NSContactsUsageDescription"].toString().isEmpty());
        QVERIFY(content(u"build.ninja"_s)
                    .contains("-sectcreate -Xlinker __TEXT -Xlinker __info_plist -Xlinker "
                        + plist.toUtf8()));
    }

    void bundleHoldsIconAndTerminalProgram()
    {
        const QString rules = QString::fromUtf8(content(u"build.ninja"_s));
        QVERIFY(
            rules.contains(u"build src/app/KorvaneSync.app/Contents/Resources/KorvaneSync.icns"_s));
        const QRegularExpression copy(
            u"copy_if_different \\S*src/cli/korvane-sync \\S*KorvaneSync.app/Contents/MacOS"_s);
        QVERIFY(rules.contains(copy));
    }
};

QTEST_GUILESS_MAIN(DarwinConfigureTest)
#include "DarwinConfigureTest.moc"
