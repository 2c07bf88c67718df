#include "backup/IndexRecord.h"

#include "backup/BackupError.h"
#include "backup/BinaryList.h"
#include "support/Printing.h"

#include <optional>

using namespace korvane;

/// Single records of the index. OpenedBackupTest reads those of whole backups.
class IndexRecordTest : public QObject {
    Q_OBJECT

    using Items = std::vector<std::pair<std::string, BinaryList::Number>>;

    /// A keyed archive: "$null", then the file, then an object more, which is the third.
    class Archive : public BinaryList {
    public:
        std::string of(const Items& file, std::optional<Number> more = std::nullopt)
        {
            std::vector<Number> objects{text("$null"), dictionary(file)};
            if (more)
                objects.push_back(*more);
            const Number root = dictionary({{"root", reference(1)}});
            return bytes(dictionary({{"$top", root}, {"$objects", array(objects)}}));
        }

        Items sizeAndClass()
        {
            return {{"Size", integer(5'000'000'000)}, {"ProtectionClass", integer(3)}};
        }

        /// The same with a key, which is this object.
        Items withKey(Number key)
        {
            Items items = sizeAndClass();
            items.emplace_back("EncryptionKey", key);
            return items;
        }
    };

    static const std::string& wrapped()
    {
        static const std::string bytes(40, 'w');
        return bytes;
    }

    static std::string complaintAbout(const std::string& bytes)
    {
        try {
            IndexRecord::parse(bytes);
        } catch (const BackupError& error) {
            return error.what();
        }
        return "(none)";
    }

private slots:
    void fileWithoutAKeyIsNotEncrypted()
    {
        Archive archive;
        const IndexRecord record = IndexRecord::parse(archive.of(archive.sizeAndClass()));
        QVERIFY(record == (IndexRecord{.size = 5'000'000'000, .protectionClass = 3}));
    }

    void keyIsFoundWhereverItIs_data()
    {
        QTest::addColumn<std::string>("bytes");
        const std::string key = '\3' + std::string(3, '\0') + wrapped();
        Archive member;
        QTest::newRow("in an object of its own") << member.of(member.withKey(member.reference(2)),
            member.dictionary({{"NS.data", member.data(key)}}));
        Archive object;
        QTest::newRow("an object itself")
            << object.of(object.withKey(object.reference(2)), object.data(key));
        Archive direct;
        QTest::newRow("in the file's object") << direct.of(direct.withKey(direct.data(key)));
    }

    void keyIsFoundWhereverItIs()
    {
        QFETCH(const std::string, bytes);
        QCOMPARE(IndexRecord::parse(bytes).wrappedKey, wrapped());
    }

    void damagedRecordIsRefused_data()
    {
        QTest::addColumn<std::string>("bytes");
        QTest::addColumn<std::string>("what");
        const auto row = [](const char* name, const std::string& bytes, const char* what) {
            QTest::newRow(name) << bytes << std::string(what);
        };
        const char* const noSize = "a record without a valid Size";
        const char* const noClass = "a record without a valid ProtectionClass";
        const char* const noKey = "a record without its key";
        Archive a; // each archive has the objects of those before, which nothing refers to
        row("nothing", "", "a record that is not a property list");
        row("a text", a.bytes(a.text("a")), noSize);
        row("no root", a.bytes(a.dictionary({})), noSize);
        row("no size", a.of({{"ProtectionClass", a.integer(3)}}), noSize);
        row("a negative size", a.of({{"Size", a.integer(~0ULL)}}), noSize);
        row("a text for a size", a.of({{"Size", a.text("5")}}), noSize);
        row("no class", a.of({{"Size", a.integer(5)}}), noClass);
        row("a class of 33 bits",
            a.of({{"Size", a.integer(5)}, {"ProtectionClass", a.integer(1ULL << 32 | 3)}}),
            noClass);
        row("a key that is nowhere", a.of(a.withKey(a.reference(2))), noKey);
        row("a key that refers to itself", a.of(a.withKey(a.reference(2)), a.reference(2)), noKey);
        row("a text for a key", a.of(a.withKey(a.text("key"))), noKey);
        row("a short key", a.of(a.withKey(a.data("short"))), "a key of 5 bytes");
    }

    void damagedRecordIsRefused()
    {
        QFETCH(const std::string, bytes);
        QFETCH(const std::string, what);
        QCOMPARE(complaintAbout(bytes),
            "The index of the backup is damaged (" + what + "). Make the backup again.");
    }
};

QTEST_GUILESS_MAIN(IndexRecordTest)
#include "IndexRecordTest.moc"
