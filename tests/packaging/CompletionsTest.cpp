#include "Help.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

using namespace korvane;
/// What bash, zsh and fish complete for korvane-sync. The tests ask the shells themselves and
/// compare the answers with the program's --help.
class CompletionsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_home.isValid());
        QVERIFY(QDir(m_home.path()).mkpath(QStringLiteral("Library/Messages")));
        const Outcome sample = run(QStringLiteral(PROGRAM),
            {QStringLiteral("sample"), m_home.filePath(QStringLiteral("Library/Messages/chat.db")),
                QStringLiteral("--messages"), QStringLiteral("100"), QStringLiteral("--chats"),
                QStringLiteral("3")});
        QCOMPARE(sample.code, 0);
    }

    void shellsFindNoFaultInThem_data()
    {
        QTest::addColumn<QString>("shell");
        QTest::addColumn<QString>("file");
        QTest::newRow("bash") << QStringLiteral("bash") << QStringLiteral("korvane-sync.bash");
        QTest::newRow("bash, the window")
            << QStringLiteral("bash") << QStringLiteral("korvane-sync-app.bash");
        QTest::newRow("zsh") << QStringLiteral("zsh") << QStringLiteral("_korvane-sync");
        QTest::newRow("fish") << QStringLiteral("fish") << QStringLiteral("korvane-sync.fish");
        QTest::newRow("fish, the window")
            << QStringLiteral("fish") << QStringLiteral("korvane-sync-app.fish");
    }

    void shellsFindNoFaultInThem()
    {
        QFETCH(QString, shell);
        QFETCH(QString, file);
        if (QStandardPaths::findExecutable(shell).isEmpty())
            QSKIP("There is no such shell here.");
        const Outcome check = run(shell, {QStringLiteral("-n"), pathOf(file)});
        QCOMPARE(check.said(), QByteArray());
        QCOMPARE(check.code, 0);
    }

    void aFewLettersAreEnough_data() { shells(); }
    void aFewLettersAreEnough()
    {
        QFETCH(Shell, complete);
        if (!has(complete))
            QSKIP("There is no such shell here.");
        QCOMPARE(joined((this->*complete)({QStringLiteral("tr")})), QStringLiteral("transfer"));
        QCOMPARE(joined((this->*complete)({QStringLiteral("zz")})), QString());
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
            options.insert(QStringLiteral("--") + option);
        QVERIFY(options.size() > 2);
        QCOMPARE(joined((this->*complete)({command, QStringLiteral("--")})), joined(options));
    }

    void guidsComeFromTheDatabase_data() { completingShells(); }
    void guidsComeFromTheDatabase()
    {
        QFETCH(Shell, complete);
        if (!has(complete))
            QSKIP("There is no such shell here.");
        const QString json = run(QStringLiteral(PROGRAM),
            {QStringLiteral("chats"), QStringLiteral("--json")}, environment())
                                 .out;
        const std::set<QString> guids = allMatches(QStringLiteral("\"guid\":\"([^\"]+)\""), json);
        QCOMPARE(guids.size(), std::size_t{3});
        QCOMPARE(joined((this->*complete)(
                     {QStringLiteral("transfer"), QStringLiteral("--chat"), QString()})),
            joined(guids));
        QCOMPARE(joined((this->*complete)({QStringLiteral("export"), QStringLiteral("--database"),
                     QStringLiteral("/nowhere"), QStringLiteral("--chat"), QString()})),
            QString());
    }

    void filesAndFoldersAreOffered_data() { completingShells(); }
    void filesAndFoldersAreOffered()
    {
        QFETCH(Shell, complete);
        if (!has(complete))
            QSKIP("There is no such shell here.");
        const QString messages = m_home.filePath(QStringLiteral("Library/Messages"));
        const QString file = messages + QStringLiteral("/chat.db");
        const QString word = messages + QStringLiteral("/ch");
        for (const QStringList& before :
            {QStringList{QStringLiteral("chats"), QStringLiteral("--database")},
                QStringList{QStringLiteral("export"), QStringLiteral("--contacts")},
                QStringList{QStringLiteral("chats"), QStringLiteral("--password-file")},
                QStringList{QStringLiteral("sample")},
                QStringList{QStringLiteral("receive"), QStringLiteral("--output")}})
            QCOMPARE(joined((this->*complete)(before + QStringList{word})), file);
        const std::set<QString> folders = (this->*complete)({QStringLiteral("export"),
            QStringLiteral("--folder"), m_home.filePath(QStringLiteral("Lib"))});
        QCOMPARE(joined(folders).remove(QRegularExpression(QStringLiteral("/$"))),
            m_home.filePath(QStringLiteral("Library")));
        QCOMPARE(
            joined((this->*complete)({QStringLiteral("export"), QStringLiteral("--folder"), word})),
            QString());
    }

    void noContactsAreOfferedWhereTheyCanBeChosen_data() { completingShells(); }
    void noContactsAreOfferedWhereTheyCanBeChosen()
    {
        QFETCH(Shell, complete);
        if (!has(complete))
            QSKIP("There is no such shell here.");
        const QString none = QStringLiteral("none");
        const auto offers = [&](const QString& command) {
            return (this->*complete)({command, QStringLiteral("--contacts"), QStringLiteral("non")})
                .contains(none);
        };
        QVERIFY(offers(QStringLiteral("export")));
        QVERIFY(offers(QStringLiteral("chats")));
        QVERIFY(!offers(QStringLiteral("sample")));
    }

private:
    /// What a shell offers for the last of `words`, which follow the program's name.
    using Shell = std::set<QString> (CompletionsTest::*)(const QStringList&) const;

    std::set<QString> bash(const QStringList& words) const
    {
        const QString script
            = QStringLiteral("compopt() { :; }; source \"$1\"; shift;"
                             "COMP_WORDS=(korvane-sync \"$@\"); COMP_CWORD=$#; _korvane_sync;"
                             "printf '%s\\n' \"${COMPREPLY[@]}\"");
        return lines(ask({QStringLiteral("bash"), QStringLiteral("--norc"), QStringLiteral("-c"),
                             script, QStringLiteral("bash")},
            QStringLiteral("korvane-sync.bash"), words));
    }

    std::set<QString> fish(const QStringList& words) const
    {
        const QString script
            = QStringLiteral("source $argv[1];"
                             "complete -C \"korvane-sync \"(string join ' ' -- $argv[2..])");
        QString offered = ask(
            {QStringLiteral("fish"), QStringLiteral("--no-config"), QStringLiteral("-c"), script},
            QStringLiteral("korvane-sync.fish"), words);
        return lines(
            offered.remove(QRegularExpression(QStringLiteral("\\t.*")))); // the descriptions
    }

    /// zsh does not complete without a terminal. Instead, stubs of _arguments and _describe print
    /// what the completion passes to them.
    std::set<QString> zsh(const QStringList& words) const
    {
        const QString script
            = QStringLiteral("_arguments() { print -rl -- \"$@\" };"
                             "_describe() { print -rl -- \"${(@P)2}\" };"
                             "file=$1; shift; words=(korvane-sync \"$@\") CURRENT=$#words;"
                             "service=korvane-sync; set --; source $file");
        const QString asked = ask({QStringLiteral("zsh"), QStringLiteral("-f"),
                                      QStringLiteral("-c"), script, QStringLiteral("zsh")},
            QStringLiteral("_korvane-sync"), words);
        std::set<QString> offered
            = allMatches(QStringLiteral("^(?:\\([^)]*\\))?\\*?((?:--)?[a-z][a-z-]*)[\\[:]"), asked);
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
        const QString name = shell == &CompletionsTest::bash ? QStringLiteral("bash")
            : shell == &CompletionsTest::zsh                 ? QStringLiteral("zsh")
                                                             : QStringLiteral("fish");
        return !QStandardPaths::findExecutable(name).isEmpty();
    }

    static std::set<QString> lines(const QString& text)
    {
        return allMatches(QStringLiteral("^(.+)$"), text);
    }

    Variables environment() const
    {
        const QString programs = QFileInfo(QStringLiteral(PROGRAM)).path();
        return {{QStringLiteral("HOME"), m_home.path()},
            {QStringLiteral("PATH"), programs + u':' + qEnvironmentVariable("PATH")},
            {QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath(QStringLiteral("config"))},
            {QStringLiteral("XDG_DATA_HOME"), m_home.filePath(QStringLiteral("data"))}};
    }

    static QString pathOf(const QString& file)
    {
        return QStringLiteral(LINUX "/completions/") + file;
    }

    const QTemporaryDir m_home;
};

QTEST_GUILESS_MAIN(CompletionsTest)
#include "CompletionsTest.moc"
