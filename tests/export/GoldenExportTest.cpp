#include "export/ExportSetup.h"
#include "export/Rerun.h"
#include "support/Printing.h"

using namespace std::string_literals;

namespace korvane {

namespace {

using Message = TestDatabase::Message;

constexpr std::int64_t newYear2025 = 757'382'400;

std::string golden(const char* name)
{
    const auto path = QString::fromLatin1("golden/%1.jsonl.txt").arg(QLatin1String(name));
    return readFile(QFINDTESTDATA(path.toUtf8().constData()).toStdString());
}

std::string exported(const ExportSetup& setup, const std::string& fileName)
{
    const SyncResult result = setup.sync();
    return result.errors.empty() ? readFile(setup.folder() / fileName) : describe(result);
}

void addKeyedMessages(TestDatabase& db)
{
    auto add = [&db, second = newYear2025](Message message) mutable {
        message.date = ++second;
        return db.addMessage(1, message);
    };
    add({.text = "Hello"});
    const auto pictures = add({.text = std::nullopt, .fromMe = true, .hasAttachments = true});
    for (const char* type : {"image/jpeg", "video/mp4", "image/heic"})
        db.addAttachment(pictures, type);
    add({.text = "a/b", .handle = 2, .hasAttachments = true});
    add({.text = "to the first", .handle = 3, .threadGuid = "M1"});
    add({.text = "   \n ", .handle = 0});
    add({.text = "Liked a picture", .associatedType = 2001, .associatedGuid = "p:0/M2"});
    add({.text = "", .fromMe = true, .associatedType = 3003, .associatedGuid = "bp:M3"});
    add({.text = "a new kind", .handle = 2, .associatedType = 2006, .associatedGuid = "p:0/gone"});
    add({.text = "Questioned",
        .handle = 0,
        .hasAttachments = true,
        .associatedType = 2005,
        .associatedGuid = "M1"});
    add({.text = std::nullopt, .handle = 0, .itemType = 2});
    add({.text = "to another chat", .threadGuid = "elsewhere"});
    const auto untyped = add({.text = "mine, without a type",
        .fromMe = true,
        .hasAttachments = true,
        .threadGuid = "M4"});
    db.addAttachment(untyped, std::nullopt);
    db.addMessage(2, {.guid = "elsewhere"});
}

} // namespace

/// Compares whole export files with golden files, byte for byte.
class GoldenExportTest : public QObject {
    Q_OBJECT

private slots:
    void everyKey()
    {
        ExportSetup setup;
        setup.db.addHandle(1, "+15550100100");
        setup.db.addHandle(2, "BO@x.org");
        setup.db.addHandle(3, "+49 30 1234");
        setup.names.map = {{"5550100100", "Ann Lee"}, {"bo@x.org", "Bo"}};
        setup.chats = {{.id = 1,
            .guid = "iMessage;+;chat100",
            .identifier = "bo@x.org",
            .members = {"+15550100100", "BO@x.org", "+49 30 1234"}}};
        addKeyedMessages(setup.db);
        QCOMPARE(exported(setup, "Ann Lee, Bo, +49 30 1234 (1) Korvane Wrapped.jsonl.txt"),
            golden("keys"));
    }

    void theNineKeysOfAnOldSystem()
    {
        constexpr std::int64_t year2013 = 384'467'200;
        ExportSetup setup(TestDatabase::Schema::Old);
        setup.db.sql().execute("DROP TABLE attachment; CREATE TABLE attachment (filename TEXT)");
        setup.db.addHandle(1, "12345");
        setup.chats = {{.id = 1, .guid = "SMS;-;12345", .identifier = "12345"}};
        setup.db.addMessage(1, {.text = "Your code is 7", .handle = 0, .date = year2013 + 1});
        setup.db.addMessage(1,
            {.text = "\uFFFC",
                .handle = 0,
                .date = year2013 + 2,
                .fromMe = true,
                .hasAttachments = true});
        setup.db.addMessage(1, {.text = "Hi", .date = year2013 + 3});
        QCOMPARE(exported(setup, "12345 (1) Korvane Wrapped.jsonl.txt"), golden("old-system"));
    }

    void textsAreEscaped()
    {
        ExportSetup setup;
        setup.db.addHandle(1, "a\"/\\@x.org");
        setup.names.map = {{"a\"/\\@x.org", R"(Ann "A" Ó\Lee)"}};
        setup.chats = {{.id = 1, .guid = "any;-;a/b\"c\\d", .displayName = "\"Q\"\t\\ / 😀"}};
        const std::vector<std::string> texts{
            "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f",
            "\x10\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1a\x1b\x1c\x1d\x1e\x1f",
            R"(She said "no", C:\new\table, and/or <b>&amp;</b>)",
            "delete \x7f, C1 \u0080\u0085\u009f, soft hyphen \u00ad",
            "separators \u2028 and \u2029, no-break \u00a0 and zero width \u200b",
            "👩\u200d👩\u200d👧 🇩🇪 👍🏽 ❤\ufe0f 1\ufe0f\u20e3",
            "שלום \u200fعالم\u200e 漢字 e\u0301 é", "\ufffd \uffff \U0010ffff",
            "\t\n\v\f\r \u0085\u00a0\u1680\u2000\u200a\u2028\u2029\u202f\u205f\u3000",
            R"(\u0041 \n stay as typed)"};
        for (std::size_t i = 0; i < texts.size(); ++i)
            setup.db.addMessage(
                1, {.text = texts[i], .date = newYear2025 + 1 + static_cast<std::int64_t>(i)});
        QCOMPARE(exported(setup, "_Q___ _ 😀 (1) Korvane Wrapped.jsonl.txt"), golden("escapes"));
    }

    void datesInBothUnits()
    {
        ExportSetup setup;
        setup.chats = {{.id = 1, .guid = "d", .displayName = "Dates"}};
        for (const std::int64_t date :
            {725'759'999'999'000'000, -1L, 700'000'000L, 725'760'000'000'000'000, 700'000'000L,
                725'756'400'500'000'000, 0L, -978'307'201L, -200'000'000'000})
            setup.db.addMessage(1, {.text = std::nullopt, .date = date, .fromMe = true});
        setup.db.sql().execute("UPDATE message SET text = ROWID; "
                               "UPDATE message SET date = 0 WHERE ROWID = 7");
        QCOMPARE(exported(setup, "Dates (1) Korvane Wrapped.jsonl.txt"), golden("dates"));
    }

    void batchesFollowEachOther()
    {
        ExportSetup setup;
        setup.chats = {{.id = 1, .guid = "b", .displayName = "Batches"}};
        const auto add = [&setup](const char* text, int second) {
            setup.db.addMessage(1, {.text = text, .date = newYear2025 + second, .fromMe = true});
        };
        add("newer", 2);
        add("older", 1);
        setup.sync();
        add("newest", 3);
        add("late and oldest", -1);
        QCOMPARE(exported(setup, "Batches (1) Korvane Wrapped.jsonl.txt"), golden("batches"));
    }

    void theTimeZoneDoesNotMatter()
    {
        for (const char* zone : {"XST-14", "YST+12"}) {
            const auto failure = rerun({"everyKey", "datesInBothUnits"}, {{"TZ", zone}});
            QVERIFY2(failure.isEmpty(), failure);
        }
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::GoldenExportTest)
#include "GoldenExportTest.moc"
