#include "check/Difference.h"
#include "export/Record.h"

#include <QtTest/QTest>

#include <functional>

using namespace korvane;

using Edit = std::function<void(Record&)>;

namespace {

Record plain()
{
    return {.body = "hello",
        .conversationID = "g",
        .conversationName = "Ann",
        .date = "2024-05-06T07:08:09.500Z",
        .id = "mac:g:1",
        .recordKind = "message",
        .sender = "Ann",
        .senderID = "messages:handle:ann"};
}

const char* nameOf(Difference difference)
{
    switch (difference) {
    case Difference::None:
        return "none";
    case Difference::Renamed:
        return "renamed";
    case Difference::Changed:
        return "changed";
    case Difference::Foreign:
        return "foreign";
    }
    return "";
}

} // namespace

/// Telling what became of a record since it was exported.
class DifferenceTest : public QObject {
    Q_OBJECT

private slots:
    void differencesHaveAKind_data()
    {
        QTest::addColumn<Edit>("file");
        QTest::addColumn<Edit>("database");
        QTest::addColumn<Difference>("difference");
        const Edit same = [](Record&) {};
        const auto row
            = [](const char* name, const Edit& file, const Edit& database, Difference difference) {
                  QTest::newRow(name) << file << database << difference;
              };
        row("the same", same, same, Difference::None);
        row(
            "contact renamed", [](Record& r) { r.sender = "Anna"; }, same, Difference::Renamed);
        row(
            "chat renamed", [](Record& r) { r.conversationName = "Anna"; }, same,
            Difference::Renamed);
        row(
            "edited", [](Record& r) { r.body = "hi"; }, same, Difference::Changed);
        row(
            "renamed and edited", [](Record& r) { r.body = r.sender = "hi"; }, same,
            Difference::Changed);
        row(
            "text came late",
            [](Record& r) {
                r.body = "";
                r.textUnavailable = true;
            },
            same, Difference::Changed);
        row(
            "kind", [](Record& r) { r.recordKind = "system"; }, same, Difference::Changed);
        row(
            "no kind", [](Record& r) { r.recordKind.reset(); }, same, Difference::Changed);
        row(
            "kind of reaction", [](Record& r) { r.reactionKind = "love"; }, same,
            Difference::Changed);
        row(
            "direction", [](Record& r) { r.isOutgoing = true; }, same, Difference::Changed);
        row(
            "sender id", [](Record& r) { r.senderID = "messages:handle:bo"; }, same,
            Difference::Changed);
        row(
            "chat", [](Record& r) { r.conversationID = "h"; }, same, Difference::Changed);
        const Edit reply = [](Record& r) { r.replyToID = "mac:g:7"; };
        row("reply of which the target is gone", reply, same, Difference::None);
        row("reply that came late", same, reply, Difference::Changed);
        row(
            "reply to another message", reply, [](Record& r) { r.replyToID = "mac:g:8"; },
            Difference::Changed);
        const Edit target = [](Record& r) { r.reactionTargetID = "mac:g:7"; };
        row("reaction of which the target is gone", target, same, Difference::None);
        row("reaction whose target came late", same, target, Difference::Changed);
        const Edit photos = [](Record& r) { r.photoCount = 2; };
        row("photos that are gone", photos, same, Difference::None);
        row(
            "photos that are gone, leaving a zero", photos, [](Record& r) { r.photoCount = 0; },
            Difference::None);
        row("photos that came late", same, photos, Difference::Changed);
        row(
            "one photo less", photos, [](Record& r) { r.photoCount = 1; }, Difference::Changed);
        const Edit attachment = [](Record& r) { r.attachmentCount = 1; };
        row("attachment that is gone", attachment, same, Difference::None);
        row("attachment that came late", same, attachment, Difference::Changed);
    }

    void differencesHaveAKind()
    {
        QFETCH(Edit, file);
        QFETCH(Edit, database);
        QFETCH(Difference, difference);
        QCOMPARE(differenceAfter(file, database), nameOf(difference));
    }

    void onlyAnotherDateAndAnotherContentTogetherAreForeign_data()
    {
        QTest::addColumn<QString>("date");
        QTest::addColumn<Edit>("file");
        QTest::addColumn<Difference>("difference");
        const Edit same = [](Record&) {};
        const Edit body = [](Record& r) { r.body = "other"; };
        const QString far = QStringLiteral("2024-05-06T07:08:10.501Z");
        QTest::newRow("body") << far << body << Difference::Foreign;
        QTest::newRow("direction")
            << far << Edit([](Record& r) { r.isOutgoing = true; }) << Difference::Foreign;
        QTest::newRow("sender id")
            << far << Edit([](Record& r) { r.senderID.reset(); }) << Difference::Foreign;
        QTest::newRow("earlier") << QStringLiteral("2024-05-06T07:08:08.499Z") << body
                                 << Difference::Foreign;
        QTest::newRow("years ago")
            << QStringLiteral("1044-03-15T12:00:00.000Z") << body << Difference::Foreign;
        QTest::newRow("only the date") << far << same << Difference::Changed;
        QTest::newRow("only the name and the date")
            << far << Edit([](Record& r) { r.sender = "Bo"; }) << Difference::Changed;
        QTest::newRow("one second later")
            << QStringLiteral("2024-05-06T07:08:10.500Z") << body << Difference::Changed;
        QTest::newRow("not a date") << QStringLiteral("yesterday") << body << Difference::Changed;
        QTest::newRow("no such day")
            << QStringLiteral("2024-02-30T07:08:10.501Z") << body << Difference::Changed;
        QTest::newRow("a date and more")
            << QStringLiteral("2020-05-06T07:08:10.501Z!") << body << Difference::Changed;
        QTest::newRow("an endless year")
            << QStringLiteral("99999999999-05-06T07:08:10.501Z") << body << Difference::Changed;
        QTest::newRow("a sign within")
            << QStringLiteral("2020--5-06T07:08:10.501Z") << body << Difference::Changed;
        QTest::newRow("empty") << QString() << body << Difference::Changed;
    }

    void onlyAnotherDateAndAnotherContentTogetherAreForeign()
    {
        QFETCH(QString, date);
        QFETCH(Edit, file);
        QFETCH(Difference, difference);
        const auto edit = [&](Record& record) {
            file(record);
            record.date = date.toStdString();
        };
        QCOMPARE(differenceAfter(edit, [](Record&) {}), nameOf(difference));
    }

private:
    static const char* differenceAfter(const Edit& file, const Edit& database)
    {
        Record inFile = plain();
        Record inDatabase = plain();
        file(inFile);
        database(inDatabase);
        return nameOf(differenceOf(inFile, inDatabase));
    }
};

QTEST_GUILESS_MAIN(DifferenceTest)
#include "DifferenceTest.moc"
