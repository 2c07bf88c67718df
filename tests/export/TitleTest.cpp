#include "contacts/ContactNames.h"
#include "export/Exporter.h"
#include "support/Printing.h"

namespace korvane {

namespace {

using Texts = std::vector<std::string>;

ContactNames contacts()
{
    return {{{"5550000001", "Ann"}, {"5550000002", "Bo"}, {"5550000003", "Cy"},
        {"5550000004", "Di"}, {"ann@x.org", "Ann Lee"}, {"", "No Number"}}};
}

} // namespace

/// The title under which a chat is shown.
class TitleTest : public QObject {
    Q_OBJECT

private slots:
    void namesAChat_data()
    {
        QTest::addColumn<std::string>("displayName");
        QTest::addColumn<Texts>("members");
        QTest::addColumn<std::string>("identifier");
        QTest::addColumn<std::string>("title");
        const auto row = [](const char* name, const std::string& displayName, const Texts& members,
                             const std::string& identifier, const std::string& title) {
            QTest::newRow(name) << displayName << members << identifier << title;
        };
        const Texts four{"5550000001", "5550000002", "5550000003", "5550000004"};
        Texts many(14, "5550000001");

        row("the user's own name, whatever the members", "Family", four, "chat1", "Family");
        row("the user's own name is not looked up", "5550000001", {}, "", "5550000001");
        row("a name of one blank is a name", " ", four, "chat1", " ");
        row("a name is not trimmed", " Team\n", {}, "", " Team\n");
        row("one known member", "", {"5550000001"}, "x", "Ann");
        row("one unknown member", "", {"+49 30 123"}, "x", "+49 30 123");
        row("a number in another form", "", {"+1 (555) 000-0001"}, "x", "Ann");
        row("an address in another case", "", {"ANN@X.org"}, "x", "Ann Lee");
        row("two members", "", {"5550000002", "5550000001"}, "x", "Bo, Ann");
        row("three members", "", {four[0], four[1], four[2]}, "x", "Ann, Bo, Cy");
        row("four members", "", four, "x", "Ann, Bo, Cy +1");
        row("five members", "", {four[0], four[1], four[2], four[3], "e"}, "x", "Ann, Bo, Cy +2");
        row("fourteen members, all the same", "", many, "x", "Ann, Ann, Ann +11");
        row("known and unknown members", "", {"555", four[1], "z@x.org", "y"}, "x",
            "555, Bo, z@x.org +1");
        row("an empty member", "", {""}, "x", "No Number");
        row("a member without digits", "", {"Bank"}, "x", "No Number");
        row("no members: a known identifier", "", {}, "+15550000003", "Cy");
        row("no members: an unknown identifier", "", {}, "chat123", "chat123");
        row("no members and no identifier", "", {}, "", "No Number");
    }

    void namesAChat()
    {
        QFETCH(std::string, displayName);
        QFETCH(Texts, members);
        QFETCH(std::string, identifier);
        QFETCH(std::string, title);
        const ChatInfo chat{
            .displayName = displayName, .identifier = identifier, .members = members};
        QCOMPARE(Exporter::title(chat, contacts()), title);
    }

    void withoutContactsTheHandlesStand()
    {
        QCOMPARE(Exporter::title({.members = {"+1 555", "a@x.org", "", "d"}}, {}),
            std::string("+1 555, a@x.org,  +1"));
        QCOMPARE(Exporter::title({.identifier = "chat9"}, {}), std::string("chat9"));
        QCOMPARE(Exporter::title({}, {}), std::string());
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::TitleTest)
#include "TitleTest.moc"
