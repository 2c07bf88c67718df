#include "Command.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QTemporaryDir>

using namespace korvane;
using namespace Qt::StringLiterals;

/// The files that "cmake --install" installs, checked by the desktop's validators.
class InstallTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_root.isValid());
        const Outcome install = run(QStringLiteral(CMAKE),
            {u"--install"_s, QStringLiteral(BUILD), u"--prefix"_s, u"/usr"_s},
            {{u"DESTDIR"_s, m_root.path()}});
        QVERIFY2(install.code == 0, install.said().constData());
    }

    void filesAreInTheUsualPlaces()
    {
        QStringList files{u"bin/korvane-sync"_s, u"bin/korvane-sync-app"_s,
            u"lib/systemd/user/korvane-sync-export.service"_s,
            u"share/applications/app.korvane.KorvaneSync.desktop"_s,
            u"share/bash-completion/completions/korvane-sync"_s,
            u"share/bash-completion/completions/korvane-sync-app"_s,
            u"share/doc/korvane-sync/SECURITY.md"_s, u"share/doc/korvane-sync/changelog.gz"_s,
            u"share/doc/korvane-sync/copyright"_s, u"share/doc/korvane-sync/export-format.md"_s,
            u"share/doc/korvane-sync/protocol.md"_s,
            u"share/fish/vendor_completions.d/korvane-sync-app.fish"_s,
            u"share/fish/vendor_completions.d/korvane-sync.fish"_s,
            u"share/icons/hicolor/scalable/apps/app.korvane.KorvaneSync.svg"_s,
            u"share/icons/hicolor/symbolic/apps/app.korvane.KorvaneSync-symbolic.svg"_s,
            u"share/korvane-sync/autostart/app.korvane.KorvaneSync.desktop"_s,
            u"share/man/man1/korvane-sync-app.1.gz"_s, u"share/man/man1/korvane-sync.1.gz"_s,
            u"share/metainfo/app.korvane.KorvaneSync.metainfo.xml"_s,
            u"share/zsh/site-functions/_korvane-sync"_s};
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
        const Outcome outcome = run(installed(u"bin/korvane-sync"_s), {u"--version"_s});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.out, QStringLiteral("korvane-sync " VERSION "\n"));
    }

    void windowPaintsItsPicturesFromThere()
    {
        const QTemporaryDir folder;
        const Outcome outcome
            = run(installed(u"bin/korvane-sync-app"_s), {u"--snapshot"_s, folder.path()});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(QImage(folder.filePath(u"dropdown-list.png"_s)).size(), QSize(800, 1200));
        QCOMPARE(QImage(folder.filePath(u"dropdown-qr.png"_s)).size(), QSize(800, 1320));
        QCOMPARE(QImage(folder.filePath(u"dropdown-access.png"_s)).size(), QSize(800, 1200));
    }

    void desktopEntriesAreValid_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("for the menu") << u"share/applications/app.korvane.KorvaneSync.desktop"_s;
        QTest::newRow("for the autostart")
            << u"share/korvane-sync/autostart/app.korvane.KorvaneSync.desktop"_s;
    }

    void desktopEntriesAreValid()
    {
        QFETCH(QString, file);
        NEEDS_PROGRAM("desktop-file-validate");
        const Outcome check = run(u"desktop-file-validate"_s, {installed(file)});
        QCOMPARE(check.said(), QByteArray());
        QCOMPARE(check.code, 0);
        const QString entry = textOf(file);
        QVERIFY(entry.contains(u"\nExec=korvane-sync-app\n"_s));
        QVERIFY(entry.contains(u"\nIcon=app.korvane.KorvaneSync\n"_s));
    }

    void metainfoIsValid()
    {
        NEEDS_PROGRAM("appstreamcli");
        QStringList arguments{u"validate"_s, u"--no-net"_s, u"--strict"_s,
            installed(u"share/metainfo/app.korvane.KorvaneSync.metainfo.xml"_s)};
        // There is no home page, and "developer_name" is kept because versions before 1.0 do not
        // know its replacement. Newer versions complain of both.
        if (!run(u"appstreamcli"_s, {u"--version"_s}).out.contains(u"version: 0."_s)) {
            arguments
                << u"--override=url-homepage-missing=pedantic,developer-info-missing=pedantic,"
                   "developer-name-tag-deprecated=pedantic"_s;
        }
        const Outcome check = run(u"appstreamcli"_s, arguments);
        QVERIFY2(check.code == 0, check.said().constData());
    }

    void latestReleaseIsThisVersion()
    {
        const QString metainfo = textOf(u"share/metainfo/app.korvane.KorvaneSync.metainfo.xml"_s);
        const auto release = metainfo.indexOf(u"<release "_s);
        QVERIFY(release > 0);
        QVERIFY(metainfo.mid(release).startsWith(
            QStringLiteral("<release version=\"" VERSION "\" date=\"")));
        const Outcome log
            = run(u"gzip"_s, {u"-dc"_s, installed(u"share/doc/korvane-sync/changelog.gz"_s)});
        QVERIFY(log.out.startsWith(QStringLiteral("korvane-sync (" VERSION ") ")));
    }

    void iconsAreDrawn_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("in colour")
            << u"share/icons/hicolor/scalable/apps/app.korvane.KorvaneSync.svg"_s;
        QTest::newRow("symbolic")
            << u"share/icons/hicolor/symbolic/apps/app.korvane.KorvaneSync-symbolic.svg"_s;
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
        const QString icon
            = textOf(u"share/icons/hicolor/symbolic/apps/app.korvane.KorvaneSync-symbolic.svg"_s);
        QVERIFY(icon.contains(u"fill=\"#2e3436\""_s));
        QVERIFY(!icon.contains(u"stroke="_s));
    }

    void userUnitIsSound()
    {
        NEEDS_PROGRAM("systemd-analyze");
        const QString name = u"korvane-sync-export.service"_s;
        QString unit = textOf(u"lib/systemd/user/"_s + name);
        QCOMPARE(unit.count(u"\nExecStart=korvane-sync "_s), 1);
        // systemd looks for the program in the usual folders; this one is not installed there.
        unit.replace(u"=korvane-sync "_s, u'=' + installed(u"bin/korvane-sync"_s) + u' ');
        unit.remove(QRegularExpression(u"\nDocumentation=.*"_s)); // not installed, either
        const QTemporaryDir folder;
        QFile file(folder.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(unit.toUtf8()) > 0);
        file.close();
        const QString runtime = folder.filePath(u"run"_s);
        QVERIFY(QDir().mkpath(runtime));
        const Outcome check
            = run(u"systemd-analyze"_s, {u"--user"_s, u"--man=no"_s, u"verify"_s, file.fileName()},
                {{u"XDG_RUNTIME_DIR"_s, runtime}, {u"HOME"_s, folder.path()}});
        QVERIFY2(check.code == 0 && !check.err.contains(name), check.said().constData());
    }

    /// The program accepts the arguments in the unit.
    void userUnitSaysWhatTheProgramUnderstands()
    {
        const QString unit = textOf(u"lib/systemd/user/korvane-sync-export.service"_s);
        const auto command
            = QRegularExpression(u"\nExecStart=korvane-sync (.*)"_s).match(unit).captured(1);
        const QTemporaryDir home;
        const Outcome outcome = run(installed(u"bin/korvane-sync"_s), command.split(u' '),
            {{u"HOME"_s, home.path()}, {u"KORVANE_SYNC_HOME"_s, home.filePath(u"support"_s)}});
        QCOMPARE(outcome.code, 1); // there is no database; bad usage would be 2
        QVERIFY2(outcome.err.contains(u"chat.db"_s), outcome.said().constData());
    }

    void nothingTurnsTheUnitOrTheAutostartOn()
    {
        QVERIFY(!QFile::exists(m_root.path() + u"/etc"_s));
        QDirIterator links(m_root.path(), QDir::System | QDir::Files, QDirIterator::Subdirectories);
        while (links.hasNext())
            QVERIFY(!QFileInfo(links.next()).isSymLink());
    }

private:
    QString installed(const QString& file) const { return m_root.path() + u"/usr/"_s + file; }

    QString textOf(const QString& file) const
    {
        QFile source(installed(file));
        return source.open(QIODevice::ReadOnly) ? QString::fromUtf8(source.readAll()) : QString();
    }

    const QTemporaryDir m_root;
};

QTEST_GUILESS_MAIN(InstallTest)
#include "InstallTest.moc"
