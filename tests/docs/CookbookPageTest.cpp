#include "CookbookFigures.h"
#include "Home.h"
#include "Page.h"

#include <optional>

using namespace korvane;

namespace {

std::vector<Section> pageSections()
{
    return sectionsOf(textOfPage(QStringLiteral(PAGE)));
}

/// The lines of a table without what depends on the tool and its version: rules, commas between
/// cells, and how many spaces there are.
QStringList withoutLayout(const QString& output)
{
    static const QRegularExpression rule(QStringLiteral("^[ -]+$"));
    static const QRegularExpression comma(QStringLiteral(",(?=\\S)"));
    QStringList lines;
    for (QString line : output.split(u'\n', Qt::SkipEmptyParts)) {
        if (!rule.match(line).hasMatch())
            lines << line.replace(comma, QStringLiteral(" ")).simplified();
    }
    return lines;
}

} // namespace

/// Runs the recipes of docs/cookbook.md as a reader would, one after the other in one home. What
/// they print must be what the page shows, and what CookbookFigures counts in the export files. The
/// command duckdb is a stand-in for DuckDB's own: see tests/docs/duckdb.
class CookbookPageTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        NEEDS_PROGRAM("jq");
        NEEDS_PROGRAM("sqlite-utils");
        if (run(QStringLiteral(PYTHON), {QStringLiteral("-c"), QStringLiteral("import pandas")})
                .code
            != 0)
            QSKIP("Python has no module pandas here.");
        qputenv("NODE_PATH", NODE_MODULES);
        m_home.emplace(5, 12'000);
        m_home->addPrograms(QStringLiteral(TOOLS));
        m_home->prepare("korvane-sync export --all\n");
        m_records = recordsInFolder(m_home->path() + QStringLiteral("/Documents/Quorvish"));
        QVERIFY(m_records.size() > 11'000);
    }

    void recipesDoWhatThePageShows_data()
    {
        QTest::addColumn<int>("index");
        const auto sections = pageSections();
        for (std::size_t i = 0; i < sections.size(); ++i)
            QTest::newRow(qPrintable(sections[i].title)) << static_cast<int>(i);
    }

    void recipesDoWhatThePageShows()
    {
        QFETCH(const int, index);
        const Section section = pageSections()[static_cast<std::size_t>(index)];
        const auto figures = cookbookFigures().find(section.title);
        QVERIFY2(figures != cookbookFigures().end(), "Nothing counts what this must print.");
        QCOMPARE(section.examples.size(), 1U);
        const Outcome outcome = run(section.examples.front());
        if (withoutLayout(outcome.out) != withoutLayout(section.examples.front().output))
            qInfo().noquote() << "It prints:\n" << outcome.out;
        QCOMPARE(withoutLayout(outcome.out), withoutLayout(section.examples.front().output));
        QCOMPARE(withoutLayout(outcome.out), withoutLayout(figures->second(m_records).join(u'\n')));
        QCOMPARE(outcome.code, 0);
    }

    void everyFigureIsOnThePage()
    {
        QStringList titles;
        for (const Section& section : pageSections())
            titles << section.title;
        for (const auto& [title, figures] : cookbookFigures())
            QVERIFY2(titles.contains(title), qPrintable(title));
    }

    void everyBlockIsRunOrCompared()
    {
        const QString page = textOfPage(QStringLiteral(PAGE));
        qsizetype blocks = 0;
        for (const Section& section : sectionsOf(page)) {
            for (const Example& example : section.examples)
                blocks += example.output.isEmpty() ? 1 : 2;
        }
        QCOMPARE(2 * blocks, page.count(QStringLiteral("\n```")));
    }

private:
    Outcome run(const Example& example) const
    {
        if (example.language != QStringLiteral("python"))
            return m_home->run(example.commands);
        QFile script(m_home->path() + QStringLiteral("/recipe.py"));
        if (!script.open(QIODevice::WriteOnly) || script.write(example.commands.toUtf8()) < 0)
            return {-1, {}, script.errorString()};
        script.close();
        return m_home->run(QStringLiteral(PYTHON " recipe.py\n"));
    }

    static Outcome run(const QString& program, const QStringList& arguments)
    {
        return korvane::run(program, arguments);
    }

    std::optional<Home> m_home;
    Records m_records;
};

QTEST_GUILESS_MAIN(CookbookPageTest)
#include "CookbookPageTest.moc"
