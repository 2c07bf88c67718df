#include "Help.h"

#include <QFile>

using namespace korvane;
using namespace Qt::StringLiterals;

/// The manual pages: valid, and in agreement with the program.
class ManPagesTest : public QObject {
    Q_OBJECT

private slots:
    void manHasNothingToComplainOf_data() { pages(); }
    void manHasNothingToComplainOf()
    {
        QFETCH(QString, page);
        NEEDS_PROGRAM("man");
        const Outcome man = run(u"man"_s,
            {u"--warnings"_s, u"-E"_s, u"UTF-8"_s, u"-l"_s, u"-Tutf8"_s, u"-Z"_s, pathOf(page)});
        QCOMPARE(man.code, 0);
        QCOMPARE(man.err, QString());
    }

    void renderedPageHasAllSections_data() { pages(); }
    void renderedPageHasAllSections()
    {
        QFETCH(QString, page);
        NEEDS_PROGRAM("man");
        const Outcome man = run(u"man"_s, {u"-l"_s, pathOf(page)}, {{u"MANWIDTH"_s, u"100"_s}});
        for (const QString& section : {u"NAME"_s, u"SYNOPSIS"_s, u"DESCRIPTION"_s, u"OPTIONS"_s,
                 u"ENVIRONMENT"_s, u"FILES"_s, u"EXIT STATUS"_s, u"EXAMPLES"_s, u"SEE ALSO"_s})
            QVERIFY2(man.out.contains(u'\n' + section + u'\n'), qPrintable(section));
    }

    void everyCommandIsInTheSynopsisAndExplained()
    {
        const QString text = source(u"korvane-sync.1"_s);
        QCOMPARE(
            joined(allMatches(u"^\\.Cm ([a-z]+)$"_s, synopsis())), joined(subcommandsInHelp()));
        QCOMPARE(joined(allMatches(u"^\\.Ss ([a-z]+)$"_s, text)), joined(subcommandsInHelp()));
    }

    void synopsisHasTheOptionsOfTheCommand_data() { commands(); }
    void synopsisHasTheOptionsOfTheCommand()
    {
        QFETCH(QString, command);
        std::set<QString> options = optionsInHelp(command);
        QVERIFY(options.erase(u"help"_s) == 1 && options.erase(u"version"_s) == 1);
        QVERIFY(!options.empty());
        QCOMPARE(joined(allMatches(u"Fl -([a-z-]+)"_s, synopsisOf(command))), joined(options));
    }

    void optionsAreExplainedAndNoOthers()
    {
        std::set<QString> options;
        for (const QString& command : subcommands)
            options.merge(optionsInHelp(command));
        const QString items = QStringList(source(u"korvane-sync.1"_s).split(u'\n'))
                                  .filter(QRegularExpression(u"^\\.It Fl"_s))
                                  .join(u'\n');
        QCOMPARE(joined(allMatches(u"(?:Fl|,) -([a-z-]+)"_s, items)), joined(options));
    }

    void windowProgramHasTheOneOption()
    {
        const QString text = source(u"korvane-sync-app.1"_s);
        QCOMPARE(joined(allMatches(u"Fl -([a-z-]+)"_s, text)), u"snapshot"_s);
    }

private:
    static QString pathOf(const QString& page) { return QStringLiteral(LINUX "/") + page; }

    static QString source(const QString& page)
    {
        QFile file(pathOf(page));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    static QString synopsis()
    {
        const QString text = source(u"korvane-sync.1"_s);
        const auto begin = text.indexOf(u".Sh SYNOPSIS"_s);
        return text.mid(begin, text.indexOf(u".Sh DESCRIPTION"_s) - begin);
    }

    static QString synopsisOf(const QString& command)
    {
        const QStringList forms = synopsis().split(u"\n.Nm\n"_s);
        return forms.filter(u".Cm "_s + command + u'\n').value(0);
    }

    static void pages()
    {
        QTest::addColumn<QString>("page");
        QTest::newRow("of the terminal program") << u"korvane-sync.1"_s;
        QTest::newRow("of the window") << u"korvane-sync-app.1"_s;
    }

    static void commands()
    {
        QTest::addColumn<QString>("command");
        for (const QString& command : subcommands)
            QTest::newRow(qPrintable(command)) << command;
    }
};

QTEST_GUILESS_MAIN(ManPagesTest)
#include "ManPagesTest.moc"
