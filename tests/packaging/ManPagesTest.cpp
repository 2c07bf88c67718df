#include "Help.h"

#include <QFile>

using namespace korvane;
/// The manual pages: valid, and in agreement with the program.
class ManPagesTest : public QObject {
    Q_OBJECT

private slots:
    void manHasNothingToComplainOf_data() { pages(); }
    void manHasNothingToComplainOf()
    {
        QFETCH(QString, page);
        NEEDS_PROGRAM("man");
        const Outcome man = run(QStringLiteral("man"),
            {QStringLiteral("--warnings"), QStringLiteral("-E"), QStringLiteral("UTF-8"),
                QStringLiteral("-l"), QStringLiteral("-Tutf8"), QStringLiteral("-Z"),
                pathOf(page)});
        QCOMPARE(man.code, 0);
        QCOMPARE(man.err, QString());
    }

    void renderedPageHasAllSections_data() { pages(); }
    void renderedPageHasAllSections()
    {
        QFETCH(QString, page);
        NEEDS_PROGRAM("man");
        const Outcome man = run(QStringLiteral("man"), {QStringLiteral("-l"), pathOf(page)},
            {{QStringLiteral("MANWIDTH"), QStringLiteral("100")}});
        for (const QString& section :
            {QStringLiteral("NAME"), QStringLiteral("SYNOPSIS"), QStringLiteral("DESCRIPTION"),
                QStringLiteral("OPTIONS"), QStringLiteral("ENVIRONMENT"), QStringLiteral("FILES"),
                QStringLiteral("EXIT STATUS"), QStringLiteral("EXAMPLES"),
                QStringLiteral("SEE ALSO")})
            QVERIFY2(man.out.contains(u'\n' + section + u'\n'), qPrintable(section));
    }

    void everyCommandIsInTheSynopsisAndExplained()
    {
        const QString text = source(QStringLiteral("korvane-sync.1"));
        QCOMPARE(joined(allMatches(QStringLiteral("^\\.Cm ([a-z]+)$"), synopsis())),
            joined(subcommandsInHelp()));
        QCOMPARE(joined(allMatches(QStringLiteral("^\\.Ss ([a-z]+)$"), text)),
            joined(subcommandsInHelp()));
    }

    void synopsisHasTheOptionsOfTheCommand_data() { commands(); }
    void synopsisHasTheOptionsOfTheCommand()
    {
        QFETCH(QString, command);
        std::set<QString> options = optionsInHelp(command);
        QVERIFY(options.erase(QStringLiteral("help")) == 1
            && options.erase(QStringLiteral("version")) == 1);
        QVERIFY(!options.empty());
        QCOMPARE(joined(allMatches(QStringLiteral("Fl -([a-z-]+)"), synopsisOf(command))),
            joined(options));
    }

    void optionsAreExplainedAndNoOthers()
    {
        std::set<QString> options;
        for (const QString& command : subcommands)
            options.merge(optionsInHelp(command));
        const QString items = QStringList(source(QStringLiteral("korvane-sync.1")).split(u'\n'))
                                  .filter(QRegularExpression(QStringLiteral("^\\.It Fl")))
                                  .join(u'\n');
        QCOMPARE(joined(allMatches(QStringLiteral("(?:Fl|,) -([a-z-]+)"), items)), joined(options));
    }

    void windowProgramHasTheOneOption()
    {
        const QString text = source(QStringLiteral("korvane-sync-app.1"));
        QCOMPARE(
            joined(allMatches(QStringLiteral("Fl -([a-z-]+)"), text)), QStringLiteral("snapshot"));
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
        const QString text = source(QStringLiteral("korvane-sync.1"));
        const auto begin = text.indexOf(QStringLiteral(".Sh SYNOPSIS"));
        return text.mid(begin, text.indexOf(QStringLiteral(".Sh DESCRIPTION")) - begin);
    }

    static QString synopsisOf(const QString& command)
    {
        const QStringList forms = synopsis().split(QStringLiteral("\n.Nm\n"));
        return forms.filter(QStringLiteral(".Cm ") + command + u'\n').value(0);
    }

    static void pages()
    {
        QTest::addColumn<QString>("page");
        QTest::newRow("of the terminal program") << QStringLiteral("korvane-sync.1");
        QTest::newRow("of the window") << QStringLiteral("korvane-sync-app.1");
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
