#include "export/Manifest.h"
#include "support/Printing.h"

#include <limits>

using namespace std::string_literals;

namespace korvane {

namespace {

const ManifestItem team{.id = "g",
    .title = "Team",
    .file = "Team (1).txt",
    .size = 5,
    .messages = 2,
    .epoch = "E",
    .updated = "2024-05-06T07:08:09Z"};

/// The JSON of `team` with one member replaced, or left out if `value` is empty.
std::string teamWith(const std::string& key, const std::string& value)
{
    std::string json;
    const std::pair<const char*, const char*> members[]
        = {{"id", R"("g")"}, {"title", R"("Team")"}, {"file", R"("Team (1).txt")"}, {"size", "5"},
            {"messages", "2"}, {"epoch", R"("E")"}, {"updated", R"("2024-05-06T07:08:09Z")"}};
    for (const auto& [name, usual] : members) {
        const std::string json1 = name == key ? value : usual;
        if (!json1.empty())
            json += (json.empty() ? "{\"" : ",\"") + std::string(name) + "\":" + json1;
    }
    return json + "}";
}

} // namespace

/// One item of the manifest as JSON.
class ManifestItemTest : public QObject {
    Q_OBJECT

private slots:
    void writesItsFieldsInOrder()
    {
        QCOMPARE(team.toJson(),
            R"({"id":"g","title":"Team","file":"Team (1).txt","size":5,"messages":2,"epoch":"E",)"
            R"("updated":"2024-05-06T07:08:09Z"})"s);
        QVERIFY(ManifestItem::fromJson(team.toJson()) == team);
    }

    void leavesOutTheTimeWhereThereIsNone()
    {
        QCOMPARE(ManifestItem{.epoch = "0"}.toJson(),
            R"({"id":"","title":"","file":"","size":0,"messages":0,"epoch":"0"})"s);
        for (const char* updated : {"", "null"}) {
            const auto item = ManifestItem::fromJson(teamWith("updated", updated));
            QVERIFY(item && !item->updated);
        }
    }

    void readsKeysInAnyOrderAndIgnoresOthers()
    {
        const auto item = ManifestItem::fromJson(
            R"({"updated":"2024-05-06T07:08:09Z","epoch":"E","new":[{}],"messages":2,"size":5,)"
            R"("file":"Team (1).txt","title":"Team","id":"g"})");
        QVERIFY(item == team);
    }

    void requiresEveryKeyButTheTime_data()
    {
        QTest::addColumn<std::string>("key");
        for (const char* key : {"id", "title", "file", "size", "messages", "epoch"})
            QTest::newRow(key) << std::string(key);
    }

    void requiresEveryKeyButTheTime()
    {
        QFETCH(std::string, key);
        QVERIFY(ManifestItem::fromJson(teamWith("", "")));
        QVERIFY(!ManifestItem::fromJson(teamWith(key, "")));
        QVERIFY(!ManifestItem::fromJson(teamWith(key, "null")));
    }

    void refusesWrongTypes_data()
    {
        QTest::addColumn<std::string>("json");
        for (const char* key : {"id", "title", "file", "epoch", "updated"}) {
            for (const char* wrong : {"5", "true", "[]", "{}"})
                QTest::addRow("%s of %s", key, wrong) << teamWith(key, wrong);
        }
        for (const char* key : {"size", "messages"}) {
            for (const char* wrong : {R"("5")", "5.5", "true", "9223372036854775808", "{}"})
                QTest::addRow("%s of %s", key, wrong) << teamWith(key, wrong);
        }
    }

    void refusesWrongTypes()
    {
        QFETCH(std::string, json);
        QVERIFY(!ManifestItem::fromJson(json));
    }

    void refusesWhatIsNoObject_data()
    {
        QTest::addColumn<std::string>("json");
        for (const char* json : {"", "null", "[]", "5", R"("id")", "{"})
            QTest::addRow("%s", json) << std::string(json);
        QTest::newRow("an item in a list") << "[" + team.toJson() + "]";
        QTest::newRow("an item and more") << team.toJson() + "x";
    }

    void refusesWhatIsNoObject()
    {
        QFETCH(std::string, json);
        QVERIFY(!ManifestItem::fromJson(json));
    }

    void comesBackAsItWent()
    {
        const std::string odd = "\"\\/\n\x01\x7f\u2028😀"s + '\0';
        const ManifestItem item{.id = odd,
            .title = odd,
            .file = odd,
            .size = std::numeric_limits<std::int64_t>::max(),
            .messages = std::numeric_limits<std::int64_t>::min(),
            .epoch = odd,
            .updated = odd};
        QVERIFY(ManifestItem::fromJson(item.toJson()) == item);
        QVERIFY(ManifestItem::fromJson(ManifestItem().toJson()) == ManifestItem());
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::ManifestItemTest)
#include "ManifestItemTest.moc"
