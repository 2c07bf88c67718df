#include "mac/Plist.h"

#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest/QTest>

using namespace korvane;
/// Configures the build as for a Mac. Checks which files it picks, what they are linked with, what
/// the bundle's property list says, and the syntax of the files that only a Mac compiles.
class DarwinConfigureTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_build;
    QMap<QString, QString> m_commands; ///< by source file

    static QString source(const QString& path) { return QStringLiteral(SOURCE "/") + path; }
    static QString tests(const QString& path)
    {
        return source(QStringLiteral("tests/mac/") + path);
    }

    QByteArray content(const QString& name) const
    {
        QFile file(m_build.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    static QSet<QString> sourcesLike(const QString& pattern)
    {
        QSet<QString> files;
        QDirIterator entries(
            source(QStringLiteral("src")), {pattern}, QDir::Files, QDirIterator::Subdirectories);
        while (entries.hasNext())
            files.insert(entries.next());
        return files;
    }

    static QSet<QString> macSources()
    {
        return sourcesLike(QStringLiteral("*_mac.cpp")) + sourcesLike(QStringLiteral("*_mac.mm"))
            + sourcesLike(QStringLiteral("*.mm"));
    }

    /// Checks the syntax of `file` by the Mac's command, without options `less` and with `more`.
    /// Returns the compiler's messages if it failed, else "".
    QString complaints(const QString& file, const QStringList& less, const QStringList& more) const
    {
        QStringList command = QProcess::splitCommand(m_commands[file]);
        if (command.isEmpty())
            return QStringLiteral("The Mac does not compile it.");
        const QString compiler = command.takeFirst();
        for (const QString& option : less)
            command.removeAll(option);
        QProcess process;
        process.setWorkingDirectory(m_build.path());
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(compiler, command + more + QStringList{QStringLiteral("-fsyntax-only")});
        if (!process.waitForFinished(120000))
            return QStringLiteral("The compiler does not end.");
        const QString said = QString::fromUtf8(process.readAll());
        return process.exitCode() == 0 ? QString() : QStringLiteral("It failed. ") + said;
    }

    void readCommands()
    {
        const auto units
            = QJsonDocument::fromJson(content(QStringLiteral("compile_commands.json"))).array();
        for (const QJsonValue unit : units) {
            const QString command = unit[u"command"].toString();
            if (command.contains(QStringLiteral(" -o src/"))) // tests compile some files again
                m_commands.insert(unit[u"file"].toString(), command);
        }
    }

private slots:
    void initTestCase()
    {
        QProcess cmake;
        cmake.setProcessChannelMode(QProcess::MergedChannels);
        cmake.start(QStringLiteral(CMAKE),
            {QStringLiteral("-G"), QStringLiteral("Ninja"), QStringLiteral("-S"), source(QString()),
                QStringLiteral("-B"), m_build.path(),
                QStringLiteral("-DCMAKE_TOOLCHAIN_FILE=")
                    + tests(QStringLiteral("darwin-claim.cmake")),
                QStringLiteral("-DCMAKE_LIBRARY_ARCHITECTURE=" LIBRARY_ARCHITECTURE),
                QStringLiteral("-DKORVANE_WERROR=" WERROR),
                QStringLiteral("-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON")});
        QVERIFY(cmake.waitForFinished(240000));
        QVERIFY2(cmake.exitCode() == 0, cmake.readAll().constData());
        readCommands();
    }

    void filesOfTheMacAreBuiltAndNoOthers()
    {
        const QSet<QString> built(m_commands.keyBegin(), m_commands.keyEnd());
        QVERIFY(macSources().size() >= 6);
        QCOMPARE(macSources() - built, QSet<QString>());
        QCOMPARE(sourcesLike(QStringLiteral("*_linux.cpp")) & built, QSet<QString>());
        QVERIFY(built.contains(source(QStringLiteral("src/contacts/VCard.cpp"))));
    }

    void nothingOfAnotherDesktopIsBuilt()
    {
        QVERIFY(!m_commands.contains(source(QStringLiteral("src/contacts/EvolutionSource.cpp"))));
        QVERIFY(!m_commands[source(QStringLiteral("src/contacts/VCard.cpp"))].contains(
            QStringLiteral("QtDBus")));
    }

    void macFilesCompile_data()
    {
        QTest::addColumn<QString>("file");
        for (const QString& file : sourcesLike(QStringLiteral("*_mac.cpp")))
            QTest::newRow(qPrintable(QFileInfo(file).fileName())) << file;
    }

    void macFilesCompile()
    {
        QFETCH(const QString, file);
        const QStringList onlyOnAMac{QStringLiteral("-DSO_NOSIGPIPE=0x1022"),
            QStringLiteral("-DSO_NWRITE=0x1024"), QStringLiteral("-DMNT_LOCAL=0x1000"),
            QStringLiteral("-Dst_mtimespec=st_mtim"), QStringLiteral("-Dst_ctimespec=st_ctim"),
            QStringLiteral("-include"),
            QStringLiteral("sys/statfs.h")}; // which on a Mac is part of <sys/mount.h>
        QCOMPARE(complaints(file, {}, onlyOnAMac), QString());
    }

    void contactsCompileForTheRuntimeOfTheMac_data()
    {
        QTest::addColumn<QStringList>("less");
        QTest::newRow("with automatic reference counting") << QStringList();
        QTest::newRow("without") << QStringList{QStringLiteral("-fobjc-arc")};
    }

    void contactsCompileForTheRuntimeOfTheMac()
    {
        QFETCH(const QStringList, less);
        const QString adapter = source(QStringLiteral("src/contacts/ContactsFrameworkSource.mm"));
        QVERIFY(m_commands[adapter].contains(QStringLiteral(" -fobjc-arc ")));
        QCOMPARE(complaints(adapter, less,
                     {QStringLiteral("-fblocks"), QStringLiteral("-fobjc-runtime=macosx-13.0"),
                         QStringLiteral("-isystem"), tests(QStringLiteral("foundation")),
                         QStringLiteral("-isystem"), tests(QString())}),
            QString());
    }

    void programsAreLinkedWithTheContactsFramework()
    {
        const QByteArray rules = content(QStringLiteral("build.ninja"));
        QVERIFY(rules.contains("-framework Contacts"));
        QVERIFY(rules.contains("-framework Foundation"));
    }

    void bundleSaysWhatItIs()
    {
        const QJsonObject says = readPlist(
            m_build.filePath(QStringLiteral("src/app/KorvaneSync.app/Contents/Info.plist")));
        QCOMPARE(says[u"CFBundleIdentifier"], QStringLiteral("app.korvane.KorvaneSync"));
        QCOMPARE(says[u"CFBundleName"], QStringLiteral("KorvaneSync"));
        QCOMPARE(says[u"CFBundleExecutable"], QStringLiteral("KorvaneSync"));
        QCOMPARE(says[u"CFBundleIconFile"], QStringLiteral("KorvaneSync.icns"));
        QCOMPARE(says[u"CFBundlePackageType"], QStringLiteral("APPL"));
        QCOMPARE(says[u"CFBundleShortVersionString"], QStringLiteral(VERSION));
        QCOMPARE(says[u"CFBundleVersion"], QStringLiteral(VERSION));
        QCOMPARE(says[u"LSMinimumSystemVersion"], QStringLiteral("14.0"));
        QCOMPARE(says[u"LSUIElement"], true);
        QCOMPARE(says[u"NSPrincipalClass"], QStringLiteral("NSApplication"));
        QCOMPARE(says[u"NSHighResolutionCapable"], true);
        QVERIFY(!says[u"NSContactsUsageDescription"].toString().isEmpty());
        QVERIFY(!says[u"NSLocalNetworkUsageDescription"].toString().isEmpty());
    }

    void terminalProgramCarriesWhatItIs()
    {
        const QString plist = m_build.filePath(QStringLiteral("Tool-Info.plist"));
        const QJsonObject says = readPlist(plist);
        QCOMPARE(says[u"CFBundleIdentifier"], QStringLiteral("app.korvane.korvane-sync"));
        QCOMPARE(says[u"CFBundleVersion"], QStringLiteral(VERSION));
        QVERIFY(!says[u"NSContactsUsageDescription"].toString().isEmpty());
        QVERIFY(content(QStringLiteral("build.ninja"))
                    .contains("-sectcreate -Xlinker __TEXT -Xlinker __info_plist -Xlinker "
                        + plist.toUtf8()));
    }

    void bundleHoldsIconAndTerminalProgram()
    {
        const QString rules = QString::fromUtf8(content(QStringLiteral("build.ninja")));
        QVERIFY(rules.contains(
            QStringLiteral("build src/app/KorvaneSync.app/Contents/Resources/KorvaneSync.icns")));
        const QRegularExpression copy(QStringLiteral(
            "copy_if_different \\S*src/cli/korvane-sync \\S*KorvaneSync.app/Contents/MacOS"));
        QVERIFY(rules.contains(copy));
    }
};

QTEST_GUILESS_MAIN(DarwinConfigureTest)
#include "DarwinConfigureTest.moc"
