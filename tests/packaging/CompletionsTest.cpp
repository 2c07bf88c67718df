#include "Help.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

using namespace korvane;
using namespace Qt::StringLiterals;

/// What bash, zsh and fish complete for korvane-sync. The tests ask the shells themselves and
/// compare the answers with the program's --help.
class CompletionsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_home.isValid());
        QVERIFY(QDir(m_home.path()).mkpath(u"Library/Messages"_s));
        const Outcome sample = run(QStringLiteral(PROGRAM),
            {u"sample"_s, m_home.filePath(u"Library/Messages/chat.db"_s), u"--messages"_s, u"100"_s,
                u"--chats"_s, u"3"_s});
        QCOMPARE(sample.code, 0);
    }

    void shellsFindNoFaultInThem_data()
    {
        QTest::addColumn<QString>("shell");
        QTest::addColumn<QString>("file");
        QTest::newRow("bash") << u"bash"_s << u"korvane-sync.bash"_s;
        QTest::newRow("bash, the window") << u"bash"_s << u"korvane-sync-app.bash"_s;
        QTest::newRow("zsh") << u"zsh"_s << u"_korvane-sync"_s;
        QTest::newRow("fish") << u"fish"_s << u"korvane-sync.fish"_s;
        QTest::newRow("fish, the window") << u"fish"_s << u"korvane-sync-app.fish"_s;
    }

    void shellsFindNoFaultInThem()
    {
        QFETCH(QString, shell);
        QFETCH(QString, file);
        if (QStandardPaths::findExecutable(shell).isEmpty())
            QSKIP("There is no such shell here.");
        const Outcome check = run(shell, {u"-n"_s, pathOf(file)});
        QCOMPARE(check.said(), QByteArray());
        QCOMPARE(check.code, 0);
    }

    void aFewLettersAreEnough_data() { shells(); }
    void aFewLettersAreEnough()
    {
        QFETCH(Shell, complete);
        if (!has(complete))
            QSKIP("There is no such shell here.");
        QCOMPARE(joined((this->*complete)({u"tr"_s})), u"transfer"_s);
        QCOMPARE(joined((this->*complete)({u"zz"_s})), QString());
    }

    void everyCommandIsOffered_data() { shells(); }
    void everyCommandIsOffered()
    {
        QFETCH(Shell, complete);
        if (!has(complete))
            QSKIP("There is no such shell here.");
        std::set<QString> offered = (this->*complete)({QString()});
        std::erase_if(offered, [](const QString& word) { return word.startsWith(u'-'); });
        QCOMPARE(joined(offered), joined(subcommandsInHelp()));
    }

    void everyOptionIsOfferedAndNoOther_data()
    {
        QTest::addColumn<Shell>("complete");
        QTest::addColumn<QString>("command");
        for (const auto& [name, complete] : all()) {
            for (const QString& command : subcommands)
                QTest::addRow("%s, %s", name, qPrintable(command)) << complete << command;
        }
    }

    void everyOptionIsOfferedAndNoOther()
    {
        QFETCH(Shell, complete);
        QFETCH(QString, command);
        if (!has(complete))
            QSKIP("There is no such shell here.");
        std::set<QString> options;
        for (const QString& option : optionsInHelp(command))
            options.insert(u"--"_s + option);
        QVERIFY(options.size() > 2);
        QCOMPARE(joined((this->*complete)({command, u"--"_s})), joined(options));
    }

    void guidsComeFromTheDatabase_data() { completingShells(); }
    void guidsComeFromTheDatabase()
    {
        QFETCH(Shell, complete);
        if (!has(complete))
            QSKIP("There is no such shell here.");
        const QString json
            = run(QStringLiteral(PROGRAM), {u"chats"_s, u"--json"_s}, environment()).out;
        const std::set<QString> guids = allMatches(u"\"guid\":\"([^\"]+)\""_s, json);
        QCOMPARE(guids.size(), std::size_t{3});
        QCOMPARE(joined((this->*complete)({u"transfer"_s, u"--chat"_s, QString()})), joined(guids));
        QCOMPARE(joined((this->*complete)(
                     {u"export"_s, u"--database"_s, u"/nowhere"_s, u"--chat"_s, QString()})),
            QString());
    }

    void filesAndFoldersAreOffered_data() { completingShells(); }
    void filesAndFoldersAreOffered()
    {
        QFETCH(Shell, complete);
        if (!has(complete))
            QSKIP("There is no such shell here.");
        const QString messages = m_home.filePath(u"Library/Messages"_s);
        const QString file = messages + u"/chat.db"_s;
        const QString word = messages + u"/ch"_s;
        for (const QStringList& before :
            {QStringList{u"chats"_s, u"--database"_s}, QStringList{u"export"_s, u"--contacts"_s},
                QStringList{u"sample"_s}, QStringList{u"receive"_s, u"--output"_s}})
            QCOMPARE(joined((this->*complete)(before + QStringList{word})), file);
        const std::set<QString> folders
            = (this->*complete)({u"export"_s, u"--folder"_s, m_home.filePath(u"Lib"_s)});
        QCOMPARE(
            joined(folders).remove(QRegularExpression(u"/$"_s)), m_home.filePath(u"Library"_s));
        QCOMPARE(joined((this->*complete)({u"export"_s, u"--folder"_s, word})), QString());
    }

private:
    /// What a shell offers for the last of `words`, which follow the program's name.
    using Shell = std::set<QString> (CompletionsTest::*)(const QStringList&) const;

    std::set<QString> bash(const QStringList& words) const
    {
        const QString script = u"compopt() { :; }; source \"$1\"; shift;"
                               "COMP_WORDS=(korvane-sync \"$@\"); COMP_CWORD=$#; _korvane_sync;"
                               "printf '%s\\n' \"${COMPREPLY[@]}\""_s;
        return lines(ask(
            {u"bash"_s, u"--norc"_s, u"-c"_s, script, u"bash"_s}, u"korvane-sync.bash"_s, words));
    }

    std::set<QString> fish(const QStringList& words) const
    {
        const QString script = u"source $argv[1];"
                               "complete -C \"korvane-sync \"(string join ' ' -- $argv[2..])"_s;
        QString offered
            = ask({u"fish"_s, u"--no-config"_s, u"-c"_s, script}, u"korvane-sync.fish"_s, words);
        return lines(offered.remove(QRegularExpression(u"\\t.*"_s))); // the descriptions
    }

    /// zsh does not complete without a terminal. Instead, stubs of _arguments and _describe print
    /// what the completion passes to them.
    std::set<QString> zsh(const QStringList& words) const
    {
        const QString script = u"_arguments() { print -rl -- \"$@\" };"
                               "_describe() { print -rl -- \"${(@P)2}\" };"
                               "file=$1; shift; words=(korvane-sync \"$@\") CURRENT=$#words;"
                               "service=korvane-sync; set --; source $file"_s;
        const QString asked
            = ask({u"zsh"_s, u"-f"_s, u"-c"_s, script, u"zsh"_s}, u"_korvane-sync"_s, words);
        std::set<QString> offered
            = allMatches(u"^(?:\\([^)]*\\))?\\*?((?:--)?[a-z]+)[\\[:]"_s, asked);
        std::erase_if(
            offered, [&words](const QString& word) { return !word.startsWith(words.back()); });
        return offered;
    }

    /// Runs the shell with the completion's path and `words` as arguments. Returns what it prints.
    QString ask(QStringList shell, const QString& completion, const QStringList& words) const
    {
        const QString program = shell.takeFirst();
        return run(program, shell + QStringList{pathOf(completion)} + words, environment()).out;
    }

    static std::vector<std::pair<const char*, Shell>> all()
    {
        return {{"bash", &CompletionsTest::bash}, {"zsh", &CompletionsTest::zsh},
            {"fish", &CompletionsTest::fish}};
    }

    static void shells()
    {
        QTest::addColumn<Shell>("complete");
        for (const auto& [name, complete] : all())
            QTest::newRow(name) << complete;
    }

    static void completingShells()
    {
        QTest::addColumn<Shell>("complete");
        QTest::newRow("bash") << &CompletionsTest::bash;
        QTest::newRow("fish") << &CompletionsTest::fish;
    }

    static bool has(Shell shell)
    {
        const QString name = shell == &CompletionsTest::bash ? u"bash"_s
            : shell == &CompletionsTest::zsh                 ? u"zsh"_s
                                                             : u"fish"_s;
        return !QStandardPaths::findExecutable(name).isEmpty();
    }

    static std::set<QString> lines(const QString& text) { return allMatches(u"^(.+)$"_s, text); }

    Variables environment() const
    {
        const QString programs = QFileInfo(QStringLiteral(PROGRAM)).path();
        return {{u"HOME"_s, m_home.path()},
            {u"PATH"_s, programs + u':' + qEnvironmentVariable("PATH")},
            {u"XDG_CONFIG_HOME"_s, m_home.filePath(u"config"_s)},
            {u"XDG_DATA_HOME"_s, m_home.filePath(u"data"_s)}};
    }

    static QString pathOf(const QString& file)
    {
        return QStringLiteral(LINUX "/completions/") + file;
    }

    const QTemporaryDir m_home;
};

QTEST_GUILESS_MAIN(CompletionsTest)
#include "CompletionsTest.moc"
