#include "storage/Files.h"
#include "storage/OutputFile.h"
#include "support/Printing.h"
#include "support/Unprivileged.h"

#include <QTemporaryDir>

#include <fstream>
#include <initializer_list>
#include <memory>

namespace korvane {

namespace fs = std::filesystem;

namespace {

void append(const fs::path& file, std::initializer_list<std::string_view> pieces)
{
    OutputFile output(file);
    for (const std::string_view piece : pieces)
        output.append(piece);
    Files::flush(file);
}

const std::string large(3'000'000, 'x');

} // namespace

/// Reading, appending and atomic writing.
class FilesTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_root = m_folder->path().toStdString();
    }

    void readsWholeFiles_data()
    {
        QTest::addColumn<std::string>("contents");
        QTest::newRow("nothing") << std::string();
        QTest::newRow("a line") << std::string("hello\n");
        QTest::newRow("any byte") << std::string("\0\r\n\xFF\x1A", 5);
        QTest::newRow("a megabyte") << large;
    }

    void readsWholeFiles()
    {
        QFETCH(std::string, contents);
        std::ofstream(file(), std::ios::binary) << contents;
        QCOMPARE(Files::read(file()), std::optional(contents));
    }

    void whatCannotBeReadIsNothing()
    {
        const std::optional<std::string> nothing;
        QCOMPARE(Files::read(file("missing")), nothing);
        QCOMPARE(Files::read(file("missing/file")), nothing);
        QCOMPARE(Files::read(m_root), nothing);
        QCOMPARE(Files::read(""), nothing);
        QVERIFY(Files::read("/proc/self/status").value_or("").size() > 100); // its st_size is 0

        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        const QTemporaryDir own;
        m_root = own.path().toStdString();
        append(file(), {"secret"});
        fs::permissions(file(), fs::perms::none);
        QCOMPARE(Files::read(file()), nothing);
    }

    void appendCreatesAFile()
    {
        append(file(), {"one\n", "", "two\n"});
        QCOMPARE(Files::read(file()), std::optional<std::string>("one\ntwo\n"));
    }

    void appendExtendsAFile()
    {
        append(file(), {"one\n"});
        append(file(), {"two\n", std::string_view("\0\xFF", 2)});
        append(file(), {large});
        QCOMPARE(
            Files::read(file()), std::optional("one\ntwo\n" + std::string("\0\xFF", 2) + large));
    }

    void appendOfNothingCreatesAnEmptyFile()
    {
        append(file(), {});
        QCOMPARE(Files::read(file()), std::optional<std::string>(""));
        append(file("other"), {""});
        QCOMPARE(Files::read(file("other")), std::optional<std::string>(""));
    }

    void appendLeavesLinksInPlace()
    {
        append(file("real"), {"one"});
        fs::create_symlink("real", file("link"));
        append(file("link"), {"two"});
        QVERIFY(fs::is_symlink(file("link")));
        QCOMPARE(Files::read(file("real")), std::optional<std::string>("onetwo"));
    }

    void writeReplacesTheContents()
    {
        for (const std::string& contents : {large, std::string("{}"), std::string()}) {
            Files::writeAtomically(file(), contents);
            QCOMPARE(Files::read(file()), std::optional(contents));
        }
    }

    void writeNeverTouchesTheOldContents()
    {
        Files::writeAtomically(file(), "old contents");
        std::ifstream reader(file());
        std::string start(3, '\0');
        reader.read(start.data(), 3);
        reader.sync();

        Files::writeAtomically(file(), "new");
        fs::create_hard_link(file(), file("second name"));
        Files::writeAtomically(file(), "newer");
        const std::string rest(std::istreambuf_iterator<char>(reader), {});
        QCOMPARE(start + rest, "old contents"); // an open reader keeps the old file
        QCOMPARE(Files::read(file("second name")), std::optional<std::string>("new"));
    }

    void writeLeavesNothingBeside()
    {
        Files::writeAtomically(file(), "one");
        Files::writeAtomically(file(), "two");
        QCOMPARE(std::distance(fs::directory_iterator(m_root), {}), 1);
    }

    void writeTakesOverWhatACrashLeftBeside()
    {
        append(file("file.new"), {"half of a much longer text that was never finis"});
        Files::writeAtomically(file(), "whole");
        QCOMPARE(Files::read(file()), std::optional<std::string>("whole"));
        QCOMPARE(std::distance(fs::directory_iterator(m_root), {}), 1);
    }

private:
    fs::path file(const char* name = "file") const { return m_root / name; }

    std::unique_ptr<QTemporaryDir> m_folder;
    fs::path m_root;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::FilesTest)
#include "FilesTest.moc"
