#include "WindowSetup.h"

#include "app/Application.h"
#include "app/Look.h"
#include "app/Snapshot.h"
#include "pairing/ReadBack.h"
#include "support/Printing.h"

#include <QtTest/QTest>

#include <filesystem>
#include <fstream>

using namespace korvane;
namespace fs = std::filesystem;

/// The pictures for the documentation, and the option that names their folder.
class SnapshotTest : public WindowTest {
    Q_OBJECT

private slots:
    void threeFilesAreWritten()
    {
        const QTemporaryDir folder;
        Snapshot::write(pathOf(folder));
        QCOMPARE(namesIn(pathOf(folder)), threeNames());
    }

    void picturesHaveTwoPixelsAPoint_data() { names(); }
    void picturesHaveTwoPixelsAPoint()
    {
        QFETCH(QString, name);
        const QImage picture = written(name);
        QCOMPARE(picture.size(), QSize(800, name == QStringLiteral("qr") ? 1320 : 1200));
        QVERIFY(!picture.hasAlphaChannel() || picture.pixelColor(0, 0).alpha() == 255);
    }

    void picturesAreOfTheWindow_data() { names(); }
    void picturesAreOfTheWindow()
    {
        QFETCH(QString, name);
        AppState state(previewNamed(name));
        ContentView window(state);
        window.show();
        window.takeFocus();
        const QImage wanted = pictureOf(window, 2);
        const QImage picture = written(name).convertToFormat(QImage::Format_RGB32);
        QCOMPARE(picture.size(), wanted.size());
        int differing = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x)
                differing += picture.pixel(x, y) != wanted.pixel(x, y);
        }
        QVERIFY2(differing < 500, qPrintable(QString::number(differing))); // only the focus differs
    }

    void coloursAreThoseOfThePalette_data() { names(); }
    void coloursAreThoseOfThePalette()
    {
        QFETCH(QString, name);
        const QImage picture = written(name);
        for (const QPoint& corner :
            {QPoint(0, 0), QPoint(799, 0), QPoint(0, 1199), QPoint(20, 600)})
            QCOMPARE(picture.pixelColor(corner), QColor(0, 0, 0));
        QVERIFY(countOf(picture, QColor(17, 13, 15)) > 50'000); // rows or cards
        QVERIFY(countOf(picture, QColor(241, 115, 94)) > 1'500); // the switch, at the least
        QVERIFY(countOf(picture, QColor(244, 237, 226)) > 3'000); // texts
        const QRect knob(718, picture.height() - 140, 40, 40);
        QVERIFY(countOf(picture, QColor(244, 237, 226), knob) > 1'000);
    }

    void pillOfTheListIsCoralWithBlackText()
    {
        const QImage picture = written(QStringLiteral("list"));
        const QRect pill(36, 888, 728, 80);
        QVERIFY(countOf(picture, QColor(241, 115, 94), pill) > 45'000);
        QVERIFY(countOf(picture, QColor(0, 0, 0), pill.adjusted(40, 20, -40, -20)) > 500);
    }

    void codeIsAnHttpsLink()
    {
        const std::string link = readBack(written(QStringLiteral("qr"))).value_or("(no code)");
        QVERIFY2(link.starts_with("https://"), link.c_str());
        QVERIFY(!readBack(written(QStringLiteral("list"))));
        QVERIFY(!readBack(written(QStringLiteral("access"))));
    }

    void statesAreThoseOfTheDocumentation()
    {
        QCOMPARE(PreviewStates::list().status, std::string("Last export 2 minutes ago."));
        QCOMPARE(PreviewStates::qr().status, std::string("Last export 2 minutes ago."));
        QCOMPARE(PreviewStates::access().status, std::string("Waiting for Full Disk Access."));
        QVERIFY(PreviewStates::access().needsAccess);
        QVERIFY(!PreviewStates::list().needsAccess && !PreviewStates::list().transferQR);
        QVERIFY(PreviewStates::qr().transferQR && PreviewStates::qr().transferChatTitle);
        Names titles;
        for (const auto& [id, title] : PreviewStates::list().titles)
            titles.insert(title);
        QVERIFY(titles.contains("The Weekend People"));
    }

    void foldersAreMadeOnTheWay()
    {
        const QTemporaryDir folder;
        const fs::path target = pathOf(folder) / "a" / "b c" / "ü";
        Snapshot::write(target);
        QCOMPARE(namesIn(target), threeNames());
    }

    void folderIsReusedAndFilesAreOverwritten()
    {
        const QTemporaryDir folder;
        std::ofstream(pathOf(folder) / "mine.txt") << "kept";
        std::ofstream(pathOf(folder) / "dropdown-list.png") << std::string(1'000'000, 'x');
        Snapshot::write(pathOf(folder));
        Names wanted = threeNames();
        wanted.insert("mine.txt");
        QCOMPARE(namesIn(pathOf(folder)), wanted);
        QCOMPARE(QImage(folder.filePath(QStringLiteral("dropdown-list.png"))).width(), 800);
        QVERIFY(fs::file_size(pathOf(folder) / "dropdown-list.png") < 1'000'000);
    }

    void secondRunWritesTheSame_data() { names(); }
    void secondRunWritesTheSame()
    {
        QFETCH(QString, name);
        QCOMPARE(written(name), written(name));
    }

    void folderThatCannotBeMadeIsLeftAlone()
    {
        const QTemporaryDir folder;
        const fs::path file = pathOf(folder) / "file";
        std::ofstream(file) << "in the way";
        Snapshot::write(file / "below");
        Snapshot::write(file);
        QCOMPARE(namesIn(pathOf(folder)), Names{"file"});
        QCOMPARE(fs::file_size(file), std::uintmax_t{10});
    }

    void fileThatCannotBeWrittenIsLeftOut()
    {
        const QTemporaryDir folder;
        fs::create_directory(pathOf(folder) / "dropdown-qr.png"); // rename() cannot replace it
        Snapshot::write(pathOf(folder));
        QCOMPARE(namesIn(pathOf(folder)), threeNames());
        QVERIFY(fs::is_directory(pathOf(folder) / "dropdown-qr.png"));
        QCOMPARE(QImage(folder.filePath(QStringLiteral("dropdown-access.png"))).width(), 800);
    }

    void snapshotFolderIsWhatFollowsTheOption_data()
    {
        using Arguments = std::vector<std::string>;
        using Folder = std::optional<std::string>;
        QTest::addColumn<Arguments>("arguments");
        QTest::addColumn<Folder>("folder");
        const Folder none;
        QTest::newRow("nothing") << Arguments{} << none;
        QTest::newRow("the option and a folder") << Arguments{"--snapshot", "d"} << Folder("d");
        QTest::newRow("the option alone") << Arguments{"--snapshot"} << none;
        QTest::newRow("the option last") << Arguments{"-style", "x", "--snapshot"} << none;
        QTest::newRow("between others") << Arguments{"-a", "--snapshot", "d", "-b"} << Folder("d");
        QTest::newRow("twice") << Arguments{"--snapshot", "d", "--snapshot"} << Folder("d");
        QTest::newRow("its own name")
            << Arguments{"--snapshot", "--snapshot"} << Folder("--snapshot");
        QTest::newRow("an empty folder") << Arguments{"--snapshot", ""} << Folder("");
        QTest::newRow("only alike") << Arguments{"--snapshots", "d"} << none;
        QTest::newRow("with a sign of equality") << Arguments{"--snapshot=d", "e"} << none;
        QTest::newRow("one dash") << Arguments{"-snapshot", "d"} << none;
    }

    void snapshotFolderIsWhatFollowsTheOption()
    {
        QFETCH(std::vector<std::string>, arguments);
        QFETCH(std::optional<std::string>, folder);
        QCOMPARE(Application::snapshotFolder(arguments), folder);
    }

private:
    using Names = std::set<std::string>;

    static void names()
    {
        QTest::addColumn<QString>("name");
        for (const char* name : {"list", "qr", "access"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    static AppState::Preview previewNamed(const QString& name)
    {
        return name == QStringLiteral("list") ? PreviewStates::list()
            : name == QStringLiteral("qr")    ? PreviewStates::qr()
                                              : PreviewStates::access();
    }

    static Names threeNames()
    {
        return {"dropdown-access.png", "dropdown-list.png", "dropdown-qr.png"};
    }

    static fs::path pathOf(const QTemporaryDir& folder) { return folder.path().toStdString(); }

    static Names namesIn(const fs::path& folder)
    {
        Names names;
        for (const auto& entry : fs::directory_iterator(folder))
            names.insert(entry.path().filename().string());
        return names;
    }

    static QImage written(const QString& name)
    {
        const QTemporaryDir folder;
        Snapshot::write(pathOf(folder));
        return QImage(folder.filePath(QStringLiteral("dropdown-%1.png").arg(name)));
    }
};

QTEST_MAIN(SnapshotTest)
#include "SnapshotTest.moc"
