#include "export/ExportSetup.h"
#include "export/Manifest.h"
#include "export/Rerun.h"
#include "support/Printing.h"

namespace korvane {

using Texts = std::vector<std::string>;

namespace {

/// Returns the titles in the order of the manifest. The chats' guids follow the order given.
Texts ordered(const Texts& titles)
{
    const ExportSetup setup;
    std::filesystem::create_directories(setup.folder());
    writeFile(setup.folder() / "file", "");
    ExportState state;
    std::set<std::string> guids;
    for (const std::string& title : titles) {
        const std::string guid = std::to_string(1'000'000 + guids.size());
        guids.insert(guid);
        state.chats[guid] = {.fileName = "file", .title = title};
    }
    Exporter::saveState(state, setup.support());
    Texts result;
    for (const ManifestItem& item : Exporter::manifest(setup.folder(), guids, setup.support()))
        result.push_back(item.title);
    return result;
}

} // namespace

/// The order of the files in the manifest.
class ManifestOrderTest : public QObject {
    Q_OBJECT

private slots:
    void ordersTitles_data()
    {
        QTest::addColumn<Texts>("titles");
        QTest::addColumn<Texts>("expected");
        const auto row = [](const char* name, const Texts& titles, const Texts& expected) {
            QTest::newRow(name) << titles << expected;
        };
        row("none", {}, {});
        row("one", {"x"}, {"x"});
        row("capitals among small letters", {"beta", "Alpha", "alpha"}, {"Alpha", "alpha", "beta"});
        row("the other way round", {"beta", "alpha", "Alpha"}, {"alpha", "Alpha", "beta"});
        row("a capital after a small letter", {"b", "Apple"}, {"Apple", "b"});
        row("a capital before a small letter", {"B", "apple"}, {"apple", "B"});
        row("words of one another", {"Team 2", "Team", "team 1"}, {"Team", "team 1", "Team 2"});
        row("accents with their letter", {"Zoe", "Arzt", "Ärger", "arm"},
            {"Ärger", "arm", "Arzt", "Zoe"});
        row("accents count where nothing else does", {"côte", "cote", "Côte", "Cote"},
            {"cote", "Cote", "côte", "Côte"});
        row("composed and decomposed accents are one", {"e\u0301b", "\u00e9a"},
            {"\u00e9a", "e\u0301b"});
        row("other scripts ignore case as well", {"яблоко", "Борис", "ЯБЛОКО", "борис"},
            {"Борис", "борис", "яблоко", "ЯБЛОКО"});
        row("nothing, digits, Latin, Greek", {"Ω", "x", "", "7"}, {"", "7", "x", "Ω"});
    }

    void ordersTitles()
    {
        QFETCH(Texts, titles);
        QFETCH(Texts, expected);
        QCOMPARE(ordered(titles), expected);
    }

    void titlesThatCompareEqualKeepTheOrderOfTheState()
    {
        QCOMPARE(ordered({"TEAM", "team", "Team", "tEAM", "Team"}),
            (Texts{"TEAM", "team", "Team", "tEAM", "Team"}));
        const Texts forms{"TEAM", "team", "Team", "tEAM", "teaM"};
        Texts many;
        for (std::size_t i = 0; i < 300; ++i)
            many.push_back(forms[i * i % forms.size()]);
        QCOMPARE(ordered(many), many);
    }

    void onlyTheTitleCounts()
    {
        const ExportSetup setup;
        std::filesystem::create_directories(setup.folder());
        ExportState state;
        for (const char* name : {"a", "b", "c"}) {
            writeFile(setup.folder() / name, name);
            state.chats[name] = {.fileName = name};
        }
        state.chats["a"].title = "z"; // b and c have none and sort by file name
        Exporter::saveState(state, setup.support());
        std::string ids;
        for (const ManifestItem& item :
            Exporter::manifest(setup.folder(), {"a", "b", "c"}, setup.support()))
            ids += item.id;
        QCOMPARE(ids, std::string("bca"));
    }

    void ordersAThousandTitles()
    {
        Texts expected;
        for (int i = 1000; i < 2000; ++i)
            expected.push_back((i % 2 == 0 ? "chat " : "CHAT ") + std::to_string(i));
        QCOMPARE(ordered(Texts(expected.rbegin(), expected.rend())), expected);
    }

    void followsTheUsersLocale_data()
    {
        QTest::addColumn<QByteArrayList>("environment"); // LC_ALL, LC_COLLATE, LANG, LC_MESSAGES
        QTest::addColumn<Texts>("expected");
        const Texts swedish{"apple", "Zoe", "Ärger"}; // Ä after Z
        const Texts elsewhere{"apple", "Ärger", "Zoe"};
        const auto row
            = [](const char* name, const QByteArrayList& environment, const Texts& expected) {
                  QTest::newRow(name) << environment << expected;
              };
        row("LC_ALL is Swedish", {"sv_SE.UTF-8", "de_DE", "de_DE", "de_DE"}, swedish);
        row("LC_ALL is not", {"de_DE.UTF-8", "sv_SE", "sv_SE", "sv_SE"}, elsewhere);
        row("LC_COLLATE is Swedish", {"", "sv_SE.UTF-8", "de_DE", "de_DE"}, swedish);
        row("LC_COLLATE is not", {"", "de_DE.UTF-8", "sv_SE", "sv_SE"}, elsewhere);
        row("LANG is Swedish", {"", "", "sv_SE.UTF-8", "de_DE"}, swedish);
        row("LANG is not", {"", "", "de_DE.UTF-8", "sv_SE"}, elsewhere);
        row("messages alone are Swedish", {"", "", "", "sv_SE.UTF-8"}, elsewhere);
        row("a language without a country", {"", "sv", "", ""}, swedish);
        row("a variant behind an @", {"", "sv_SE@euro", "", ""}, swedish);
        row("a charset and a variant", {"", "sv_SE.ISO8859-15@euro", "", ""}, swedish);
        row("no locale at all", {"", "", "", ""}, elsewhere);
        row("the C locale", {"", "C", "sv_SE", "sv_SE"}, elsewhere);
        row("the C locale with a charset", {"", "C.UTF-8", "sv_SE", "sv_SE"}, elsewhere);
        row("the POSIX locale", {"POSIX", "sv_SE", "sv_SE", "sv_SE"}, elsewhere);
        row("one that does not exist", {"", "xx_YY", "sv_SE", ""}, elsewhere);
        row("nonsense", {"", "../\xFF@;=", "", ""}, elsewhere);
    }

    void followsTheUsersLocale()
    {
        QFETCH(QByteArrayList, environment);
        QFETCH(Texts, expected);
        const QByteArrayList names{"LC_ALL", "LC_COLLATE", "LANG", "LC_MESSAGES"};
        QByteArrayList before;
        for (int i = 0; i < names.size(); ++i) {
            before << qgetenv(names[i]);
            qputenv(names[i], environment[i]);
        }
        const Texts result = ordered({"Zoe", "Ärger", "apple"});
        for (int i = 0; i < names.size(); ++i)
            qputenv(names[i], before[i]);
        QCOMPARE(result, expected);
    }

    void ignoresCaseUnderEveryEnvironment_data()
    {
        QTest::addColumn<QByteArray>("locale");
        for (const char* locale : {"", "C", "POSIX", "C.UTF-8", "en_US.UTF-8", "de_DE", "nonsense"})
            QTest::addRow("LC_ALL=%s", locale) << QByteArray(locale);
    }

    void ignoresCaseUnderEveryEnvironment()
    {
        QFETCH(QByteArray, locale);
        const auto failure = rerun({"ordersTitles", "titlesThatCompareEqualKeepTheOrderOfTheState"},
            {{"LC_ALL", locale}, {"LANG", "C"}});
        QVERIFY2(failure.isEmpty(), failure);
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::ManifestOrderTest)
#include "ManifestOrderTest.moc"
