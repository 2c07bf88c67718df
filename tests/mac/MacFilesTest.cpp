#include "mac/Plist.h"

#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest/QTest>

using namespace korvane;
/// The files of the Mac's application: property lists, the icon, and the workflow of the machine
/// that builds it.
class MacFilesTest : public QObject {
    Q_OBJECT

    static QString source(const QString& path) { return QStringLiteral(SOURCE "/") + path; }

    /// The pictures of an icon in ICNS format, by type; empty if its lengths are inconsistent.
    static QMap<QByteArray, QImage> picturesIn(const QByteArray& icon)
    {
        const auto length = [&](qsizetype at) { return qFromBigEndian<quint32>(icon.data() + at); };
        QMap<QByteArray, QImage> pictures;
        if (!icon.startsWith("icns") || length(4) != icon.size())
            return {};
        for (qsizetype at = 8; at != icon.size(); at += length(at + 4)) {
            if (at + 8 > icon.size() || length(at + 4) < 8 || at + length(at + 4) > icon.size())
                return {};
            const QByteArray png = icon.mid(at + 8, length(at + 4) - 8);
            pictures.insert(icon.mid(at, 4), QImage::fromData(png, "PNG"));
        }
        return pictures;
    }

    static QByteArray madeIcon(const QString& path)
    {
        printedBy(QStringLiteral(MAKE_ICNS),
            {source(QStringLiteral("src/app/resources/Guide.svg")), path});
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private slots:
    void entitlementsAreTheAddressBookAlone()
    {
        const QJsonObject entitlements
            = readPlist(source(QStringLiteral("packaging/mac/entitlements.plist")));
        QCOMPARE(entitlements,
            (QJsonObject{
                {QStringLiteral("com.apple.security.personal-information.addressbook"), true}}));
    }

    void templatesArePropertyLists_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("application") << QStringLiteral("packaging/mac/Info.plist.in");
        QTest::newRow("terminal program") << QStringLiteral("packaging/mac/Tool-Info.plist.in");
    }

    void templatesArePropertyLists()
    {
        QFETCH(const QString, file);
        const QJsonObject plist = readPlist(source(file));
        QCOMPARE(plist[u"LSMinimumSystemVersion"], QStringLiteral("14.0"));
        QVERIFY(
            plist[u"NSContactsUsageDescription"].toString().contains(QStringLiteral("contacts")));
        QVERIFY(
            plist[u"NSLocalNetworkUsageDescription"].toString().contains(QStringLiteral("phone")));
    }

    void iconHasEverySize()
    {
        const QTemporaryDir folder;
        const auto pictures = picturesIn(madeIcon(folder.filePath(QStringLiteral("made.icns"))));
        const QMap<QByteArray, int> sizes{{"ic11", 32}, {"ic12", 64}, {"ic07", 128}, {"ic13", 256},
            {"ic08", 256}, {"ic14", 512}, {"ic09", 512}, {"ic10", 1024}};
        QCOMPARE(pictures.keys(), sizes.keys());
        for (auto size = sizes.begin(); size != sizes.end(); ++size)
            QCOMPARE(pictures[size.key()].size(), QSize(size.value(), size.value()));
    }

    void iconIsTheGuideOnARoundedDarkGround()
    {
        const QTemporaryDir folder;
        const QImage icon
            = picturesIn(madeIcon(folder.filePath(QStringLiteral("made.icns")))).value("ic10");
        QCOMPARE(icon.pixelColor(50, 512).alpha(), 0); // margin
        QCOMPARE(icon.pixelColor(110, 110).alpha(), 0); // rounded corner
        QCOMPARE(icon.pixelColor(512, 120).alpha(), 255);
        QVERIFY(icon.pixelColor(512, 120).lightness() < 40);
        const QColor body = icon.pixelColor(512, 500);
        QVERIFY2(body.red() > 200 && body.blue() < 140, qPrintable(body.name()));
    }

    void iconIsReadByOthers()
    {
        const QString reader = QStandardPaths::findExecutable(QStringLiteral("icns2png"));
        if (reader.isEmpty())
            QSKIP("icns2png is not here.");
        const QTemporaryDir folder;
        const QString icon = folder.filePath(QStringLiteral("made.icns"));
        QVERIFY(!madeIcon(icon).isEmpty());
        printedBy(reader,
            {QStringLiteral("-x"), QStringLiteral("-s"), QStringLiteral("512x512"),
                QStringLiteral("-o"), folder.path(), icon});
        const QStringList pictures
            = QDir(folder.path()).entryList({QStringLiteral("*512x512*.png")});
        QVERIFY(!pictures.isEmpty());
        QCOMPARE(QImage(folder.filePath(pictures[0])).size(), QSize(512, 512));
    }

    void iconOfNothingIsAnError()
    {
        const QTemporaryDir folder;
        QCOMPARE(
            QProcess::execute(QStringLiteral(MAKE_ICNS),
                {QStringLiteral("/no/drawing.svg"), folder.filePath(QStringLiteral("made.icns"))}),
            1);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList());
    }

    void workflowBuildsTestsAndPacks()
    {
        const QStringList noYaml{QStringLiteral("-c"), QStringLiteral("import yaml")};
        if (QProcess::execute(QStringLiteral(PYTHON), noYaml) != 0)
            QSKIP("Python's yaml is not here.");
        const QJsonObject workflow
            = readBy(QStringLiteral("yaml"), source(QStringLiteral(".github/workflows/macos.yml")));
        const QJsonObject job = workflow[u"jobs"][u"application"].toObject();
        QVERIFY(job[u"runs-on"].toString().startsWith(QStringLiteral("macos")));
        QString commands;
        for (const QJsonValue step : job[u"steps"].toArray())
            commands += step[u"run"].toString() + u'\n';
        for (const QString& command :
            {QStringLiteral("brew install"), QStringLiteral("cmake --build"),
                QStringLiteral("ctest"), QStringLiteral("packaging/mac/bundle"),
                QStringLiteral("packaging/mac/sign"), QStringLiteral("packaging/mac/disk-image")})
            QVERIFY2(commands.contains(command), qPrintable(command));
    }
};

QTEST_GUILESS_MAIN(MacFilesTest)
#include "MacFilesTest.moc"
