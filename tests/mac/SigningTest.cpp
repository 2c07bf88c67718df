#include "mac/Plist.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest/QTest>

using namespace korvane;
using namespace Qt::StringLiterals;

/// The scripts that sign, notarise and pack. They run with stubs of the Mac's tools, which record
/// how they were called.
class SigningTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;

    QString path(const QString& name) const { return m_folder->filePath(name); }
    QString app() const { return path(u"KorvaneSync.app"_s); }

    void write(const QString& name, const QByteArray& content) const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.setPermissions(file.permissions() | QFile::ExeOwner);
    }

    /// Creates a stub that records its name and arguments and then runs `more`.
    void stand(const QString& name, const QByteArray& more = {}) const
    {
        write(u"bin/"_s + name,
            "#!/bin/sh\nprintf '%s' \"$(basename \"$0\")\" >>\"$CALLS\"\n"
            "printf ' %s' \"$@\" >>\"$CALLS\"\necho >>\"$CALLS\"\n"
                + more);
    }

    int run(const QString& script, const QStringList& arguments, const QByteArray& input = {},
        const QMap<QString, QString>& more = {}) const
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"PATH"_s, path(u"bin"_s) + u':' + environment.value(u"PATH"_s));
        environment.insert(u"CALLS"_s, path(u"calls"_s));
        environment.remove(u"KORVANE_IDENTITY"_s);
        environment.remove(u"KORVANE_NOTARY_PROFILE"_s);
        for (auto variable = more.begin(); variable != more.end(); ++variable)
            environment.insert(variable.key(), variable.value());
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(SOURCE "/packaging/mac/") + script, arguments);
        process.write(input);
        process.closeWriteChannel();
        return process.waitForFinished(20000) ? process.exitCode() : -1;
    }

    /// The recorded calls, without names of temporary and source folders.
    QStringList calls() const
    {
        QFile file(path(u"calls"_s));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QString text
            = QString::fromUtf8(file.readAll()).replace(m_folder->path() + u'/', QString());
        text.replace(QStringLiteral(SOURCE "/"), QString());
        text.replace(QRegularExpression(u"/tmp/tmp\\.[^/ ]+"_s), u"TEMPORARY"_s);
        return text.split(u'\n', Qt::SkipEmptyParts);
    }

    QStringList image() const { return {app(), path(u"KorvaneSync.dmg"_s)}; }

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        for (const QString& name : {u"codesign"_s, u"xcrun"_s, u"hdiutil"_s, u"security"_s})
            stand(name);
        stand(u"ditto"_s, "case $1 in -c) : >\"$5\" ;; *) cp -R \"$1\" \"$2\" ;; esac\n");
        write(u"KorvaneSync.app/Contents/MacOS/KorvaneSync"_s, {});
        write(u"KorvaneSync.app/Contents/MacOS/korvane-sync"_s, {});
        write(u"KorvaneSync.app/Contents/Frameworks/QtCore.framework/QtCore"_s, {});
        write(u"KorvaneSync.app/Contents/PlugIns/platforms/libqcocoa.dylib"_s, {});
    }

    void everythingInsideIsSignedBeforeTheApplication()
    {
        QCOMPARE(run(u"sign"_s, {app(), u"Developer ID"_s}), 0);
        QStringList signedOnes = calls();
        const QString seal
            = u"codesign --force --sign Developer ID --timestamp --options runtime "_s;
        const QString entitled = seal + u"--entitlements packaging/mac/entitlements.plist "_s;
        QCOMPARE(signedOnes.size(), 5);
        QCOMPARE(signedOnes.mid(2),
            QStringList({entitled + u"KorvaneSync.app/Contents/MacOS/korvane-sync"_s,
                entitled + u"KorvaneSync.app"_s,
                u"codesign --verify --deep --strict KorvaneSync.app"_s}));
        QStringList libraries = signedOnes.mid(0, 2);
        libraries.sort();
        QCOMPARE(libraries,
            QStringList({seal + u"KorvaneSync.app/Contents/Frameworks/QtCore.framework"_s,
                seal + u"KorvaneSync.app/Contents/PlugIns/platforms/libqcocoa.dylib"_s}));
    }

    void signatureForThisMacAloneLeavesTheRuntime()
    {
        QCOMPARE(run(u"sign"_s, {app(), u"-"_s}), 0);
        QVERIFY(!calls().join(u'\n').contains(u"runtime"_s));
        QVERIFY(calls().contains(u"codesign --force --sign - --entitlements "
                                 "packaging/mac/entitlements.plist KorvaneSync.app"_s));
    }

    void failedSignatureEndsTheScript()
    {
        stand(u"codesign"_s, "exit 1\n");
        QVERIFY(run(u"sign"_s, {app(), u"Developer ID"_s}) != 0);
        QCOMPARE(calls().size(), 1);
    }

    void identityAndCredentialsAreAskedFor()
    {
        QCOMPARE(run(u"sign-and-notarise"_s, image(), "Developer ID\nthe-profile\n"), 0);
        const QString all = calls().join(u'\n');
        QVERIFY(all.startsWith(u"security find-identity -v -p codesigning"_s));
        QVERIFY(all.contains(u"--sign Developer ID"_s));
        QVERIFY(all.contains(u"--keychain-profile the-profile"_s));
    }

    void applicationAndImageAreNotarisedAndStapledInTurn()
    {
        const QMap<QString, QString> answers{
            {u"KORVANE_IDENTITY"_s, u"ID"_s}, {u"KORVANE_NOTARY_PROFILE"_s, u"profile"_s}};
        QCOMPARE(run(u"sign-and-notarise"_s, image(), {}, answers), 0);
        const QString submit = u"xcrun notarytool submit %1 --keychain-profile profile --wait"_s;
        const QStringList expected{u"ditto -c -k --keepParent KorvaneSync.app TEMPORARY/app.zip"_s,
            submit.arg(u"TEMPORARY/app.zip"_s), u"xcrun stapler staple KorvaneSync.app"_s,
            u"ditto KorvaneSync.app TEMPORARY/KorvaneSync.app"_s,
            u"hdiutil create -volname KorvaneSync -srcfolder TEMPORARY -fs HFS+ -format UDZO -ov "
            "KorvaneSync.dmg"_s,
            u"codesign --force --sign ID --timestamp KorvaneSync.dmg"_s,
            submit.arg(u"KorvaneSync.dmg"_s), u"xcrun stapler staple KorvaneSync.dmg"_s};
        QCOMPARE(calls().mid(5), expected);
    }

    void refusedApplicationIsNotPacked()
    {
        stand(u"xcrun"_s, "exit 1\n");
        QVERIFY(run(u"sign-and-notarise"_s, image(), "ID\nprofile\n") != 0);
        QVERIFY(!calls().join(u'\n').contains(u"hdiutil"_s));
    }

    void withoutAnIdentityNothingIsDone()
    {
        QCOMPARE(run(u"sign-and-notarise"_s, image(), "\n\n"), 1);
        QCOMPARE(calls(), QStringList({u"security find-identity -v -p codesigning"_s}));
    }

    void imageHoldsTheApplicationAndALinkToTheOthers()
    {
        stand(u"hdiutil"_s, "ls -l \"$5\" | awk 'NR > 1 { print $9 $10 $11 }' >>\"$CALLS\"\n");
        QCOMPARE(run(u"disk-image"_s, image()), 0);
        QCOMPARE(
            calls().mid(2), QStringList({u"Applications->/Applications"_s, u"KorvaneSync.app"_s}));
    }

    void bundleBringsItsLibrariesAndThePlugInForPictures()
    {
        stand(u"qtpaths"_s, "echo \"$(dirname \"$0\")/../qt\"\n");
        stand(u"macdeployqt"_s);
        write(u"qt/platforms/libqoffscreen.dylib"_s, "plug-in");
        QVERIFY(QDir().mkpath(path(u"build/src/app"_s)));
        QVERIFY(QFile::rename(app(), path(u"build/src/app/KorvaneSync.app"_s)));
        QCOMPARE(run(u"bundle"_s, {path(u"build"_s), path(u"out/KorvaneSync.app"_s)}), 0);
        QVERIFY(QFile::exists(
            path(u"out/KorvaneSync.app/Contents/PlugIns/platforms/libqoffscreen.dylib"_s)));
        const QString contents = u"out/KorvaneSync.app/Contents/"_s;
        QCOMPARE(calls().last(),
            u"macdeployqt out/KorvaneSync.app -verbose=1 -executable="_s + contents
                + u"MacOS/korvane-sync -executable="_s + contents
                + u"PlugIns/platforms/libqoffscreen.dylib"_s);
    }
};

QTEST_GUILESS_MAIN(SigningTest)
#include "SigningTest.moc"
