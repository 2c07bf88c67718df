#include "mac/Plist.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest/QTest>

using namespace korvane;
/// The scripts that sign, notarise and pack. They run with stubs of the Mac's tools, which record
/// how they were called.
class SigningTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;

    QString path(const QString& name) const { return m_folder->filePath(name); }
    QString app() const { return path(QStringLiteral("KorvaneSync.app")); }

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
        write(QStringLiteral("bin/") + name,
            "#!/bin/sh\nprintf '%s' \"$(basename \"$0\")\" >>\"$CALLS\"\n"
            "printf ' %s' \"$@\" >>\"$CALLS\"\necho >>\"$CALLS\"\n"
                + more);
    }

    int run(const QString& script, const QStringList& arguments, const QByteArray& input = {},
        const QMap<QString, QString>& more = {}) const
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PATH"),
            path(QStringLiteral("bin")) + u':' + environment.value(QStringLiteral("PATH")));
        environment.insert(QStringLiteral("CALLS"), path(QStringLiteral("calls")));
        environment.remove(QStringLiteral("KORVANE_IDENTITY"));
        environment.remove(QStringLiteral("KORVANE_NOTARY_PROFILE"));
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
        QFile file(path(QStringLiteral("calls")));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QString text
            = QString::fromUtf8(file.readAll()).replace(m_folder->path() + u'/', QString());
        text.replace(QStringLiteral(SOURCE "/"), QString());
        text.replace(
            QRegularExpression(QStringLiteral("/tmp/tmp\\.[^/ ]+")), QStringLiteral("TEMPORARY"));
        return text.split(u'\n', Qt::SkipEmptyParts);
    }

    QStringList image() const { return {app(), path(QStringLiteral("KorvaneSync.dmg"))}; }

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        for (const QString& name : {QStringLiteral("codesign"), QStringLiteral("xcrun"),
                 QStringLiteral("hdiutil"), QStringLiteral("security")})
            stand(name);
        stand(QStringLiteral("ditto"),
            "case $1 in -c) : >\"$5\" ;; *) cp -R \"$1\" \"$2\" ;; esac\n");
        write(QStringLiteral("KorvaneSync.app/Contents/MacOS/KorvaneSync"), {});
        write(QStringLiteral("KorvaneSync.app/Contents/MacOS/korvane-sync"), {});
        write(QStringLiteral("KorvaneSync.app/Contents/Frameworks/QtCore.framework/QtCore"), {});
        write(QStringLiteral("KorvaneSync.app/Contents/PlugIns/platforms/libqcocoa.dylib"), {});
    }

    void everythingInsideIsSignedBeforeTheApplication()
    {
        QCOMPARE(run(QStringLiteral("sign"), {app(), QStringLiteral("Developer ID")}), 0);
        QStringList signedOnes = calls();
        const QString seal
            = QStringLiteral("codesign --force --sign Developer ID --timestamp --options runtime ");
        const QString entitled
            = seal + QStringLiteral("--entitlements packaging/mac/entitlements.plist ");
        QCOMPARE(signedOnes.size(), 5);
        QCOMPARE(signedOnes.mid(2),
            QStringList({entitled + QStringLiteral("KorvaneSync.app/Contents/MacOS/korvane-sync"),
                entitled + QStringLiteral("KorvaneSync.app"),
                QStringLiteral("codesign --verify --deep --strict KorvaneSync.app")}));
        QStringList libraries = signedOnes.mid(0, 2);
        libraries.sort();
        QCOMPARE(libraries,
            QStringList(
                {seal + QStringLiteral("KorvaneSync.app/Contents/Frameworks/QtCore.framework"),
                    seal
                        + QStringLiteral(
                            "KorvaneSync.app/Contents/PlugIns/platforms/libqcocoa.dylib")}));
    }

    void signatureForThisMacAloneLeavesTheRuntime()
    {
        QCOMPARE(run(QStringLiteral("sign"), {app(), QStringLiteral("-")}), 0);
        QVERIFY(!calls().join(u'\n').contains(QStringLiteral("runtime")));
        QVERIFY(
            calls().contains(QStringLiteral("codesign --force --sign - --entitlements "
                                            "packaging/mac/entitlements.plist KorvaneSync.app")));
    }

    void failedSignatureEndsTheScript()
    {
        stand(QStringLiteral("codesign"), "exit 1\n");
        QVERIFY(run(QStringLiteral("sign"), {app(), QStringLiteral("Developer ID")}) != 0);
        QCOMPARE(calls().size(), 1);
    }

    void identityAndCredentialsAreAskedFor()
    {
        QCOMPARE(
            run(QStringLiteral("sign-and-notarise"), image(), "Developer ID\nthe-profile\n"), 0);
        const QString all = calls().join(u'\n');
        QVERIFY(all.startsWith(QStringLiteral("security find-identity -v -p codesigning")));
        QVERIFY(all.contains(QStringLiteral("--sign Developer ID")));
        QVERIFY(all.contains(QStringLiteral("--keychain-profile the-profile")));
    }

    void applicationAndImageAreNotarisedAndStapledInTurn()
    {
        const QMap<QString, QString> answers{
            {QStringLiteral("KORVANE_IDENTITY"), QStringLiteral("ID")},
            {QStringLiteral("KORVANE_NOTARY_PROFILE"), QStringLiteral("profile")}};
        QCOMPARE(run(QStringLiteral("sign-and-notarise"), image(), {}, answers), 0);
        const QString submit
            = QStringLiteral("xcrun notarytool submit %1 --keychain-profile profile --wait");
        const QStringList expected{
            QStringLiteral("ditto -c -k --keepParent KorvaneSync.app TEMPORARY/app.zip"),
            submit.arg(QStringLiteral("TEMPORARY/app.zip")),
            QStringLiteral("xcrun stapler staple KorvaneSync.app"),
            QStringLiteral("ditto KorvaneSync.app TEMPORARY/KorvaneSync.app"),
            QStringLiteral("hdiutil create -volname KorvaneSync -srcfolder TEMPORARY -fs HFS+ "
                           "-format UDZO -ov "
                           "KorvaneSync.dmg"),
            QStringLiteral("codesign --force --sign ID --timestamp KorvaneSync.dmg"),
            submit.arg(QStringLiteral("KorvaneSync.dmg")),
            QStringLiteral("xcrun stapler staple KorvaneSync.dmg")};
        QCOMPARE(calls().mid(5), expected);
    }

    void refusedApplicationIsNotPacked()
    {
        stand(QStringLiteral("xcrun"), "exit 1\n");
        QVERIFY(run(QStringLiteral("sign-and-notarise"), image(), "ID\nprofile\n") != 0);
        QVERIFY(!calls().join(u'\n').contains(QStringLiteral("hdiutil")));
    }

    void withoutAnIdentityNothingIsDone()
    {
        QCOMPARE(run(QStringLiteral("sign-and-notarise"), image(), "\n\n"), 1);
        QCOMPARE(
            calls(), QStringList({QStringLiteral("security find-identity -v -p codesigning")}));
    }

    void imageHoldsTheApplicationAndALinkToTheOthers()
    {
        stand(QStringLiteral("hdiutil"),
            "ls -l \"$5\" | awk 'NR > 1 { print $9 $10 $11 }' >>\"$CALLS\"\n");
        QCOMPARE(run(QStringLiteral("disk-image"), image()), 0);
        QCOMPARE(calls().mid(2),
            QStringList({QStringLiteral("Applications->/Applications"),
                QStringLiteral("KorvaneSync.app")}));
    }

    void bundleBringsItsLibrariesAndThePlugInForPictures()
    {
        stand(QStringLiteral("qtpaths"), "echo \"$(dirname \"$0\")/../qt\"\n");
        stand(QStringLiteral("macdeployqt"));
        write(QStringLiteral("qt/platforms/libqoffscreen.dylib"), "plug-in");
        QVERIFY(QDir().mkpath(path(QStringLiteral("build/src/app"))));
        QVERIFY(QFile::rename(app(), path(QStringLiteral("build/src/app/KorvaneSync.app"))));
        QCOMPARE(run(QStringLiteral("bundle"),
                     {path(QStringLiteral("build")), path(QStringLiteral("out/KorvaneSync.app"))}),
            0);
        QVERIFY(QFile::exists(path(
            QStringLiteral("out/KorvaneSync.app/Contents/PlugIns/platforms/libqoffscreen.dylib"))));
        const QString contents = QStringLiteral("out/KorvaneSync.app/Contents/");
        QCOMPARE(calls().last(),
            QStringLiteral("macdeployqt out/KorvaneSync.app -verbose=1 -executable=") + contents
                + QStringLiteral("MacOS/korvane-sync -executable=") + contents
                + QStringLiteral("PlugIns/platforms/libqoffscreen.dylib"));
    }
};

QTEST_GUILESS_MAIN(SigningTest)
#include "SigningTest.moc"
