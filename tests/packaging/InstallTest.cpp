#include "Command.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QTemporaryDir>

using namespace korvane;
/// The files that "cmake --install" installs, checked by the desktop's validators.
class InstallTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_root.isValid());
        const Outcome install = run(QStringLiteral(CMAKE),
            {QStringLiteral("--install"), QStringLiteral(BUILD), QStringLiteral("--prefix"),
                QStringLiteral("/usr")},
            {{QStringLiteral("DESTDIR"), m_root.path()}});
        QVERIFY2(install.code == 0, install.said().constData());
    }

    void filesAreInTheUsualPlaces()
    {
        QStringList files{QStringLiteral("bin/korvane-sync"),
            QStringLiteral("bin/korvane-sync-app"),
            QStringLiteral("lib/systemd/user/korvane-sync-export.service"),
            QStringLiteral("share/applications/app.korvane.KorvaneSync.desktop"),
            QStringLiteral("share/bash-completion/completions/korvane-sync"),
            QStringLiteral("share/bash-completion/completions/korvane-sync-app"),
            QStringLiteral("share/doc/korvane-sync/SECURITY.md"),
            QStringLiteral("share/doc/korvane-sync/changelog.gz"),
            QStringLiteral("share/doc/korvane-sync/copyright"),
            QStringLiteral("share/doc/korvane-sync/export-format.md"),
            QStringLiteral("share/doc/korvane-sync/protocol.md"),
            QStringLiteral("share/doc/korvane-sync/recovery.md"),
            QStringLiteral("share/fish/vendor_completions.d/korvane-sync-app.fish"),
            QStringLiteral("share/fish/vendor_completions.d/korvane-sync.fish"),
            QStringLiteral("share/icons/hicolor/scalable/apps/app.korvane.KorvaneSync.svg"),
            QStringLiteral(
                "share/icons/hicolor/symbolic/apps/app.korvane.KorvaneSync-symbolic.svg"),
            QStringLiteral("share/korvane-sync/autostart/app.korvane.KorvaneSync.desktop"),
            QStringLiteral("share/man/man1/korvane-sync-app.1.gz"),
            QStringLiteral("share/man/man1/korvane-sync.1.gz"),
            QStringLiteral("share/metainfo/app.korvane.KorvaneSync.metainfo.xml"),
            QStringLiteral("share/zsh/site-functions/_korvane-sync")};
        QStringList found;
        QDirIterator entries(
            m_root.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (entries.hasNext())
            found += QDir(installed(QString())).relativeFilePath(entries.next());
        found.sort();
        QCOMPARE(found, files);
    }

    void terminalProgramStartsFromThere()
    {
        const Outcome outcome
            = run(installed(QStringLiteral("bin/korvane-sync")), {QStringLiteral("--version")});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.out, QStringLiteral("korvane-sync " VERSION "\n"));
    }

    void windowPaintsItsPicturesFromThere()
    {
        const QTemporaryDir folder;
        const Outcome outcome = run(installed(QStringLiteral("bin/korvane-sync-app")),
            {QStringLiteral("--snapshot"), folder.path()});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(
            QImage(folder.filePath(QStringLiteral("dropdown-list.png"))).size(), QSize(800, 1200));
        QCOMPARE(
            QImage(folder.filePath(QStringLiteral("dropdown-qr.png"))).size(), QSize(800, 1320));
        QCOMPARE(QImage(folder.filePath(QStringLiteral("dropdown-access.png"))).size(),
            QSize(800, 1200));
    }

    void desktopEntriesAreValid_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("for the menu")
            << QStringLiteral("share/applications/app.korvane.KorvaneSync.desktop");
        QTest::newRow("for the autostart")
            << QStringLiteral("share/korvane-sync/autostart/app.korvane.KorvaneSync.desktop");
    }

    void desktopEntriesAreValid()
    {
        QFETCH(QString, file);
        NEEDS_PROGRAM("desktop-file-validate");
        const Outcome check = run(QStringLiteral("desktop-file-validate"), {installed(file)});
        QCOMPARE(check.said(), QByteArray());
        QCOMPARE(check.code, 0);
        const QString entry = textOf(file);
        QVERIFY(entry.contains(QStringLiteral("\nExec=korvane-sync-app\n")));
        QVERIFY(entry.contains(QStringLiteral("\nIcon=app.korvane.KorvaneSync\n")));
    }

    void metainfoIsValid()
    {
        NEEDS_PROGRAM("appstreamcli");
        QStringList arguments{QStringLiteral("validate"), QStringLiteral("--no-net"),
            QStringLiteral("--strict"),
            installed(QStringLiteral("share/metainfo/app.korvane.KorvaneSync.metainfo.xml"))};
        // There is no home page, and "developer_name" is kept because versions before 1.0 do not
        // know its replacement. Newer versions complain of both.
        if (!run(QStringLiteral("appstreamcli"), {QStringLiteral("--version")})
                 .out.contains(QStringLiteral("version: 0."))) {
            arguments << QStringLiteral(
                "--override=url-homepage-missing=pedantic,developer-info-missing=pedantic,"
                "developer-name-tag-deprecated=pedantic");
        }
        const Outcome check = run(QStringLiteral("appstreamcli"), arguments);
        QVERIFY2(check.code == 0, check.said().constData());
    }

    void latestReleaseIsThisVersion()
    {
        const QString metainfo
            = textOf(QStringLiteral("share/metainfo/app.korvane.KorvaneSync.metainfo.xml"));
        const auto release = metainfo.indexOf(QStringLiteral("<release "));
        QVERIFY(release > 0);
        QVERIFY(metainfo.mid(release).startsWith(
            QStringLiteral("<release version=\"" VERSION "\" date=\"")));
        const Outcome log = run(QStringLiteral("gzip"),
            {QStringLiteral("-dc"),
                installed(QStringLiteral("share/doc/korvane-sync/changelog.gz"))});
        QVERIFY(log.out.startsWith(QStringLiteral("korvane-sync (" VERSION ") ")));
    }

    void iconsAreDrawn_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("in colour")
            << QStringLiteral("share/icons/hicolor/scalable/apps/app.korvane.KorvaneSync.svg");
        QTest::newRow("symbolic") << QStringLiteral(
            "share/icons/hicolor/symbolic/apps/app.korvane.KorvaneSync-symbolic.svg");
    }

    void iconsAreDrawn()
    {
        QFETCH(QString, file);
        QSvgRenderer drawing(installed(file));
        QVERIFY(drawing.isValid());
        QCOMPARE(drawing.defaultSize().width(), drawing.defaultSize().height());
        QImage icon(64, 64, QImage::Format_ARGB32);
        icon.fill(Qt::transparent);
        QPainter painter(&icon);
        drawing.render(&painter);
        painter.end();
        QCOMPARE(icon.pixelColor(0, 0).alpha(), 0); // outside of the rounded shape
        int opaque = 0;
        for (int y = 0; y < icon.height(); ++y) {
            for (int x = 0; x < icon.width(); ++x)
                opaque += icon.pixelColor(x, y).alpha() > 128 ? 1 : 0;
        }
        QVERIFY(opaque * 5 > icon.width() * icon.height());
    }

    /// Desktops recolour the fill of a symbolic icon, but not its strokes.
    void symbolicIconIsFilledAndNotStroked()
    {
        const QString icon = textOf(QStringLiteral(
            "share/icons/hicolor/symbolic/apps/app.korvane.KorvaneSync-symbolic.svg"));
        QVERIFY(icon.contains(QStringLiteral("fill=\"#2e3436\"")));
        QVERIFY(!icon.contains(QStringLiteral("stroke=")));
    }

    void userUnitIsSound()
    {
        NEEDS_PROGRAM("systemd-analyze");
        const QString name = QStringLiteral("korvane-sync-export.service");
        QString unit = textOf(QStringLiteral("lib/systemd/user/") + name);
        QCOMPARE(unit.count(QStringLiteral("\nExecStart=korvane-sync ")), 1);
        // systemd looks for the program in the usual folders; this one is not installed there.
        unit.replace(QStringLiteral("=korvane-sync "),
            u'=' + installed(QStringLiteral("bin/korvane-sync")) + u' ');
        unit.remove(
            QRegularExpression(QStringLiteral("\nDocumentation=.*"))); // not installed, either
        const QTemporaryDir folder;
        QFile file(folder.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(unit.toUtf8()) > 0);
        file.close();
        const QString runtime = folder.filePath(QStringLiteral("run"));
        QVERIFY(QDir().mkpath(runtime));
        const Outcome check = run(QStringLiteral("systemd-analyze"),
            {QStringLiteral("--user"), QStringLiteral("--man=no"), QStringLiteral("verify"),
                file.fileName()},
            {{QStringLiteral("XDG_RUNTIME_DIR"), runtime},
                {QStringLiteral("HOME"), folder.path()}});
        QVERIFY2(check.code == 0 && !check.err.contains(name), check.said().constData());
    }

    /// The program accepts the arguments in the unit.
    void userUnitSaysWhatTheProgramUnderstands()
    {
        const QString unit = textOf(QStringLiteral("lib/systemd/user/korvane-sync-export.service"));
        const auto command = QRegularExpression(QStringLiteral("\nExecStart=korvane-sync (.*)"))
                                 .match(unit)
                                 .captured(1);
        const QTemporaryDir home;
        const Outcome outcome = run(installed(QStringLiteral("bin/korvane-sync")),
            command.split(u' '),
            {{QStringLiteral("HOME"), home.path()},
                {QStringLiteral("KORVANE_SYNC_HOME"), home.filePath(QStringLiteral("support"))}});
        QCOMPARE(outcome.code, 1); // there is no database; bad usage would be 2
        QVERIFY2(outcome.err.contains(QStringLiteral("chat.db")), outcome.said().constData());
    }

    void nothingTurnsTheUnitOrTheAutostartOn()
    {
        QVERIFY(!QFile::exists(m_root.path() + QStringLiteral("/etc")));
        QDirIterator links(m_root.path(), QDir::System | QDir::Files, QDirIterator::Subdirectories);
        while (links.hasNext())
            QVERIFY(!QFileInfo(links.next()).isSymLink());
    }

private:
    QString installed(const QString& file) const
    {
        return m_root.path() + QStringLiteral("/usr/") + file;
    }

    QString textOf(const QString& file) const
    {
        QFile source(installed(file));
        return source.open(QIODevice::ReadOnly) ? QString::fromUtf8(source.readAll()) : QString();
    }

    const QTemporaryDir m_root;
};

QTEST_GUILESS_MAIN(InstallTest)
#include "InstallTest.moc"
