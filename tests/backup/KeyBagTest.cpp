#include "backup/KeyBag.h"

#include "backup/BackupError.h"
#include "support/Printing.h"

#include <QByteArray>

using namespace korvane;

/// The entries of key bags. OpenedBackupTest unlocks whole backups.
class KeyBagTest : public QObject {
    Q_OBJECT

    static std::string number(std::uint32_t value)
    {
        std::string bytes;
        for (const int shift : {24, 16, 8, 0})
            bytes += static_cast<char>(value >> shift & 255U);
        return bytes;
    }

    static std::string entry(const std::string& tag, const std::string& value)
    {
        return tag + number(static_cast<std::uint32_t>(value.size())) + value;
    }

    static std::string entry(const std::string& tag, std::uint32_t value)
    {
        return entry(tag, number(value));
    }

    static std::string classEntries(std::uint32_t number, std::uint32_t wrap, const char* key)
    {
        return entry("UUID", std::string(16, 'u')) + entry("CLAS", number) + entry("WRAP", wrap)
            + entry("KTYP", 0U) + entry("WPKY", QByteArray::fromHex(key).toStdString());
    }

    /// The key 00…1f, wrapped with the one that "password", the salt "salt" and one iteration of
    /// SHA-1 give. Made with Python's cryptography.
    static constexpr const char* wrappedKey
        = "4748588888d26fcb4484ee3e0295ebad774a2f8caec37a04756376698628900e07899dd248e8d4ce";

    static std::string head()
    {
        return entry("VERS", 3U) + entry("TYPE", 1U) + entry("UUID", std::string(16, 'b'))
            + entry("WRAP", 0U) + entry("SALT", "salt") + entry("ITER", 1U);
    }

    static std::string iterations(std::uint32_t count)
    {
        return entry("ITER", count) + entry("SALT", "salt") + entry("UUID", std::string(16, 'b'));
    }

    static std::string complaintAbout(const std::string& bytes)
    {
        try {
            KeyBag::parse(bytes);
        } catch (const BackupError& error) {
            return error.what();
        }
        return "(none)";
    }

    static std::string damaged(const std::string& what)
    {
        return "The key bag in Manifest.plist is damaged (" + what + "). Make the backup again.";
    }

private slots:
    void passwordUnlocksTheKeysThatItWraps()
    {
        const KeyBag bag = KeyBag::parse(head() + classEntries(1, 2, wrappedKey)
            + classEntries(2, 1, wrappedKey) + classEntries(3, 3, wrappedKey));
        const auto keys = bag.unlock(Secret(std::string_view("password")));
        QVERIFY(keys);
        QCOMPARE(keys->size(), std::size_t(2));
        QVERIFY(keys->contains(1) && keys->contains(3));
        QCOMPARE(QByteArray::fromStdString(std::string(keys->at(1).view())).toHex(),
            QByteArray("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f"));
    }

    void wrongPasswordUnlocksNothing()
    {
        const KeyBag bag = KeyBag::parse(head() + classEntries(1, 2, wrappedKey));
        QVERIFY(!bag.unlock(Secret(std::string_view("Password"))));
        QVERIFY(!bag.unlock(Secret()));
    }

    void damagedKeyIsLeftOut()
    {
        std::string altered = QByteArray::fromHex(wrappedKey).toStdString();
        altered[0] = static_cast<char>(altered[0] ^ 1);
        const KeyBag bag = KeyBag::parse(head() + classEntries(1, 2, wrappedKey)
            + classEntries(2, 2, QByteArray::fromStdString(altered).toHex().constData()));
        const auto keys = bag.unlock(Secret(std::string_view("password")));
        QVERIFY(keys);
        QCOMPARE(keys->size(), std::size_t(1));
    }

    void unknownEntriesAreSkipped()
    {
        const KeyBag bag
            = KeyBag::parse(entry("NEWS", "what") + head() + classEntries(1, 2, wrappedKey)
                + entry("PBKY", std::string(32, 'p')) + entry("SIGN", ""));
        QVERIFY(bag.unlock(Secret(std::string_view("password"))));
    }

    void damagedKeyBagIsRefused_data()
    {
        QTest::addColumn<std::string>("bytes");
        QTest::addColumn<std::string>("complaint");
        const auto row = [](const char* name, const std::string& bytes, const char* complaint) {
            QTest::newRow(name) << bytes << std::string(complaint);
        };
        const std::string end = classEntries(1, 2, wrappedKey);
        const char* const noSalt = "the salt or the number of iterations is missing";
        const char* const tooLong = "an entry is longer than the key bag";
        const char* const noClass = "it has no key that a password unlocks";
        row("empty", "", noSalt);
        row("cut within a tag", head() + "WP", "it ends within an entry");
        row("cut within a value", head() + end.substr(0, end.size() - 1), tooLong);
        row("a length of 4 GiB", head() + "WPKY" + number(0xffffffff) + end, tooLong);
        row("an integer of two bytes", entry("ITER", "12") + head() + end,
            "an integer does not have four bytes");
        row("no classes", head(), noClass);
        row("only a key of the phone", head() + classEntries(1, 1, wrappedKey), noClass);
        row("no iterations", iterations(0) + end, noSalt);
        row("hours of iterations", iterations(100'000'001) + end,
            "it asks for 100000001 iterations");
        row("half of a first round", entry("DPSL", "salt") + head() + end, noSalt);
    }

    void damagedKeyBagIsRefused()
    {
        QFETCH(const std::string, bytes);
        QFETCH(const std::string, complaint);
        QCOMPARE(complaintAbout(bytes), damaged(complaint));
    }
};

QTEST_GUILESS_MAIN(KeyBagTest)
#include "KeyBagTest.moc"
