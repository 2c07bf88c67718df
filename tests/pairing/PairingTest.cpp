#include "pairing/Pairing.h"

#include "storage/Files.h"
#include "support/FileMode.h"
#include "support/Printing.h"
#include "support/Unprivileged.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <fstream>
#include <memory>
#include <set>

using namespace korvane;

namespace fs = std::filesystem;

/// The pairing record that a phone and this machine share, and the file that stores it.
class PairingTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        useSupport(m_folder->path().toStdString());
    }

    void newRecordHasATokenAndAKey()
    {
        const std::string alphabet
            = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
        std::set<char> seen;
        for (int i = 0; i < 1000; ++i) {
            const Pairing pairing = Pairing::make();
            QCOMPARE(pairing.token.size(), 22U);
            QCOMPARE(pairing.token.find_first_not_of(alphabet), std::string::npos);
            QVERIFY(std::string("AQgw").find(pairing.token.back()) != std::string::npos);
            QCOMPARE(pairing.key.bytes().size(), 32);
            seen.insert(pairing.token.begin(), pairing.token.end());
        }
        QCOMPARE(seen.size(), alphabet.size());
        QVERIFY(fs::is_empty(support())); // make() saves nothing
    }

    void newRecordsAreAllDifferent()
    {
        std::set<std::string> tokens;
        std::set<QByteArray> keys;
        for (int i = 0; i < 1000; ++i) {
            const Pairing pairing = Pairing::make();
            tokens.insert(pairing.token);
            keys.insert(pairing.key.bytes());
        }
        QCOMPARE(tokens.size(), 1000U);
        QCOMPARE(keys.size(), 1000U);
    }

    void fileIsOneCompactObjectOfTwoMembers()
    {
        const Pairing pairing = PairingStore::reset(m_support);
        const QByteArray json = contents();
        const QJsonObject object = QJsonDocument::fromJson(json).object();
        QCOMPARE(object.keys(), QStringList({QStringLiteral("key"), QStringLiteral("token")}));
        QCOMPARE(object[u"token"].toString().toStdString(), pairing.token);
        QCOMPARE(object[u"key"].toString().toLatin1(), pairing.key.bytes().toBase64());
        QCOMPARE(object[u"key"].toString().size(), 44);
        QVERIFY(object[u"key"].toString().endsWith(u'='));
        QCOMPARE(json.size(), QByteArray("{'key':'','token':''}").size() + 44 + 22);
        QCOMPARE(json.simplified().replace(' ', ""), json);
        QCOMPARE(std::distance(fs::directory_iterator(support()), {}), 1);
    }

    void keyIsInStandardBase64()
    {
        const Pairing pairing{"token", *SymmetricKey::fromBytes(QByteArray(32, '\xFF'))};
        const QByteArray json = QByteArray::fromStdString(pairing.toJson());
        const QString text = QJsonDocument::fromJson(json)[u"key"].toString();
        QCOMPARE(text.toLatin1(), QByteArray(42, '/') + "8=");
        QVERIFY(Pairing::fromJson(pairing.toJson()) == pairing);
    }

    void recordIsMadeOnceAndReadBack()
    {
        const Pairing first = Pairing::load(m_support);
        const QByteArray json = contents();
        QVERIFY(Pairing::fromJson(json.toStdString()) == first);
        QVERIFY(Pairing::load(m_support) == first);
        QCOMPARE(contents(), json);
        QVERIFY(PairingStore::reset(m_support) != first);
        QVERIFY(contents() != json);
    }

    void validRecordIsNotWrittenAgain()
    {
        // White space and order differ from what this program writes.
        const QByteArray json = "{ \"token\" : \"the token\",\n \"key\" : \"" + goodKey + "\" }\n";
        write(json);
        fs::permissions(file(), fs::perms::owner_read);
        const auto old = fs::last_write_time(file()) - std::chrono::hours(24);
        fs::last_write_time(file(), old);
        const Pairing pairing = Pairing::load(m_support);
        QCOMPARE(pairing.token, "the token");
        QCOMPARE(pairing.key.bytes(), QByteArray(32, '\0'));
        QCOMPARE(contents(), json);
        QVERIFY(fs::last_write_time(file()) == old);
        QCOMPARE(modeOf(file()), "400");
    }

    void recordThatOthersMayUseIsClosedToThem_data()
    {
        QTest::addColumn<int>("mode");
        QTest::newRow("for everybody to read") << 0644;
        QTest::newRow("for everybody to write") << 0666;
        QTest::newRow("for the group to read") << 0640;
        QTest::newRow("read-only") << 0444;
        QTest::newRow("for others to write") << 0602;
        QTest::newRow("a program") << 0755;
    }

    void recordThatOthersMayUseIsClosedToThem()
    {
        QFETCH(const int, mode);
        const Pairing pairing = Pairing::load(m_support);
        const QByteArray json = contents();
        fs::permissions(file(), static_cast<fs::perms>(mode));
        const auto folderMode = modeOf(support());
        QVERIFY(Pairing::load(m_support) == pairing);
        QCOMPARE(modeOf(file()), "600");
        QCOMPARE(contents(), json);
        QCOMPARE(modeOf(support()), folderMode); // the folder may be shared: its mode stays
    }

    void otherFormsOfARecordAreRead_data()
    {
        QTest::addColumn<QByteArray>("json");
        const QByteArray members = "\"token\":\"the token\",\"key\":\"" + goodKey + '"';
        QTest::newRow("token first") << QByteArray('{' + members + '}');
        QTest::newRow("key first")
            << QByteArray("{\"key\":\"" + goodKey + "\",\"token\":\"the token\"}");
        QTest::newRow("other members")
            << QByteArray("{\"v\":2,\"phones\":[{}]," + members + ",\"made\":null}");
        QTest::newRow("white space") << QByteArray(" \n{ " + members + "\n}\n");
        QTest::newRow("escaped letters")
            << QByteArray("{\"t\\u006fken\":\"the\\u0020token\",\"key\":\"" + goodKey + "\"}");
        const auto with = [&](const QByteArray& more) { return '{' + more + ',' + members + '}'; };
        QTest::newRow("a byte order mark") << QByteArray("\xEF\xBB\xBF{" + members + '}');
        QTest::newRow("two tokens: the last one counts") << with("\"token\":\"another\"");
        QTest::newRow("two tokens, one in escapes") << with("\"t\\u006fken\":\"another\"");
        QTest::newRow("a token in place of a number") << with("\"token\":5");
        QTest::newRow("two keys: the last one counts")
            << with("\"key\":\"" + QByteArray(32, '\1').toBase64() + '"');
        QTest::newRow("a key in place of a bad one") << with("\"key\":\"not base64!\"");
        QTest::newRow("members inside another member")
            << with("\"old\":{\"token\":\"another\",\"key\":\"not base64!\"}");
        QTest::newRow("numbers of any size")
            << with("\"n\":[1e999,-1e999,1e-999,1" + QByteArray(99, '0') + ']');
        QTest::newRow("half a surrogate pair in another member") << with("\"n\":\"\\ud800\"");
        QTest::newRow("half a surrogate pair in another name") << with("\"\\ud800\":1");
        QTest::newRow("5,000 nested lists")
            << with("\"n\":" + QByteArray(5000, '[') + QByteArray(5000, ']'));
        QTest::newRow("a megabyte of another member")
            << with("\"n\":\"" + QByteArray(1'000'000, 'n') + '"');
    }

    void otherFormsOfARecordAreRead()
    {
        QFETCH(QByteArray, json);
        write(json);
        const Pairing pairing = Pairing::load(m_support);
        QCOMPARE(pairing.token, "the token");
        QCOMPARE(pairing.key.bytes(), QByteArray(32, '\0'));
        QCOMPARE(contents(), json);
    }

    void tokenIsTakenAsItStands_data()
    {
        QTest::addColumn<QByteArray>("written");
        QTest::addColumn<QByteArray>("token");
        QTest::newRow("empty") << QByteArray("") << QByteArray("");
        QTest::newRow("escaped control characters")
            << QByteArray("a\\u0000\\u0001\\t\\nb") << QByteArray("a\0\1\t\nb", 6);
        QTest::newRow("DEL") << QByteArray("a\x7F") << QByteArray("a\x7F");
        QTest::newRow("escaped surrogate pair")
            << QByteArray("\\ud83d\\ude00") << QByteArray("\xF0\x9F\x98\x80");
        QTest::newRow("letters outside ASCII")
            << QByteArray("\xC3\xA9\xF0\x9F\x98\x80") << QByteArray("\xC3\xA9\xF0\x9F\x98\x80");
    }

    void tokenIsTakenAsItStands()
    {
        QFETCH(const QByteArray, written);
        QFETCH(const QByteArray, token);
        const QByteArray json = "{\"token\":\"" + written + "\",\"key\":\"" + goodKey + "\"}";
        write(json);
        QCOMPARE(Pairing::load(m_support).token, token.toStdString());
        QCOMPARE(contents(), json);
    }

    void escapedSlashesOfAKeyAreRead()
    {
        write("{\"token\":\"t\",\"key\":\"" + QByteArray("\\/").repeated(42) + "8=\"}");
        QCOMPARE(Pairing::load(m_support).key.bytes(), QByteArray(32, '\xFF'));
    }

    void damagedRecordIsReplaced_data()
    {
        QTest::addColumn<QByteArray>("json");
        const QByteArray token = "\"token\":\"the token\"";
        const auto withKey
            = [&](const QByteArray& key) { return '{' + token + ",\"key\":" + key + '}'; };
        const auto withText = [&](const QByteArray& key) { return withKey('"' + key + '"'); };
        QTest::newRow("an empty file") << QByteArray("");
        QTest::newRow("no JSON") << QByteArray("hello");
        QTest::newRow("bytes that are no text") << QByteArray("\xFF\xFE\0\x01", 4);
        QTest::newRow("half of a record") << withText(goodKey).chopped(10);
        QTest::newRow("something behind the record") << QByteArray(withText(goodKey) + "}");
        QTest::newRow("an array") << QByteArray('[' + withText(goodKey) + ']');
        QTest::newRow("an empty object") << QByteArray("{}");
        QTest::newRow("null") << QByteArray("null");
        QTest::newRow("no key") << QByteArray('{' + token + '}');
        QTest::newRow("no token") << QByteArray("{\"key\":\"" + goodKey + "\"}");
        QTest::newRow("members in capitals")
            << QByteArray("{\"Token\":\"t\",\"Key\":\"" + goodKey + "\"}");
        QTest::newRow("a token that is a number")
            << QByteArray("{\"token\":5,\"key\":\"" + goodKey + "\"}");
        QTest::newRow("a token that is null")
            << QByteArray("{\"token\":null,\"key\":\"" + goodKey + "\"}");
        QTest::newRow("a key that is a number") << QByteArray(withKey("5"));
        QTest::newRow("a key that is null") << QByteArray(withKey("null"));
        QTest::newRow("a key that is a list") << QByteArray(withKey("[1,2]"));
        QTest::newRow("an empty key") << QByteArray(withText(""));
        QTest::newRow("a key that is no base64") << QByteArray(withText("not base64!"));
        QTest::newRow("a key with a stray character") << QByteArray(withText('!' + goodKey));
        QTest::newRow("a key without padding") << QByteArray(withText(goodKey.chopped(1)));
        QTest::newRow("a key in the other alphabet")
            << QByteArray(withText(QByteArray(42, '_') + "8="));
        const QByteArray members = token + ",\"key\":\"" + goodKey + '"';
        const auto with = [&](const QByteArray& more) { return '{' + members + ',' + more + '}'; };
        const auto withToken = [&](const QByteArray& text) {
            return "{\"token\":\"" + text + "\",\"key\":\"" + goodKey + "\"}";
        };
        QTest::newRow("a number in place of a token") << with("\"token\":5");
        QTest::newRow("a bad key in place of a key") << with("\"key\":\"not base64!\"");
        QTest::newRow("a NUL behind the record") << QByteArray("{" + members + "}").append('\0');
        QTest::newRow("two records") << QByteArray('{' + members + "}{" + members + '}');
        QTest::newRow("a comma too many") << with("");
        QTest::newRow("half a surrogate pair in the token") << QByteArray(withToken("\\ud800"));
        QTest::newRow("a reversed surrogate pair in the token")
            << QByteArray(withToken("\\ude00\\ud83d"));
        QTest::newRow("a bare line break in the token") << QByteArray(withToken("a\nb"));
        QTest::newRow("an unknown escape in the token") << QByteArray(withToken("a\\xb"));
        QTest::newRow("bytes that are no UTF-8 in the token") << QByteArray(withToken("\xFF"));
        QTest::newRow("a token that is an object")
            << QByteArray("{\"token\":{" + token + "},\"key\":\"" + goodKey + "\"}");
        QTest::newRow("a number without a fraction") << with("\"n\":1.");
        QTest::newRow("a number that begins with its point") << with("\"n\":.5");
        QTest::newRow("a key of 31 bytes") << QByteArray(withText(QByteArray(31, '\0').toBase64()));
        QTest::newRow("a key of 33 bytes") << QByteArray(withText(QByteArray(33, '\0').toBase64()));
    }

    void damagedRecordIsReplaced()
    {
        QFETCH(QByteArray, json);
        write(json);
        fs::permissions(file(), fs::perms(0644));
        const Pairing pairing = Pairing::load(m_support);
        QCOMPARE(pairing.token.size(), 22U);
        QVERIFY(pairing.key.bytes() != QByteArray(32, '\0'));
        QVERIFY(Pairing::fromJson(contents().toStdString()) == pairing);
        QCOMPARE(modeOf(file()), "600");
        QVERIFY(Pairing::load(m_support) == pairing);
        QCOMPARE(std::distance(fs::directory_iterator(support()), {}), 1);
    }

    void missingFolderIsMade()
    {
        useSupport(m_folder->path().toStdString() + "/a/b");
        const Pairing pairing = Pairing::load(m_support);
        QVERIFY(Pairing::fromJson(contents().toStdString()) == pairing);
        QCOMPARE(modeOf(file()), "600");
    }

    void fileIsForItsOwnerAloneWhateverTheUmask()
    {
        for (const mode_t mask : {mode_t{0}, mode_t{022}, mode_t{077}}) {
            const Umask umask(mask);
            fs::remove(file());
            Pairing::load(m_support);
            QCOMPARE(modeOf(file()), "600");
            fs::permissions(file(), fs::perms(0666));
            PairingStore::reset(m_support); // replaces a file that everybody may read
            QCOMPARE(modeOf(file()), "600");
        }
    }

    void folderInTheFilesPlaceStillGivesARecord()
    {
        fs::create_directories(file() / "inside");
        const Pairing first = Pairing::load(m_support);
        const Pairing second = Pairing::load(m_support);
        QCOMPARE(first.token.size(), 22U);
        QVERIFY(first != second); // nothing was saved
        QVERIFY(fs::is_directory(file() / "inside"));
        QCOMPARE(std::distance(fs::directory_iterator(support()), {}), 1);
    }

    void supportFolderThatCannotBeStillGivesARecord()
    {
        write("in the way");
        useSupport(file() / "below");
        const Pairing first = Pairing::load(m_support);
        const Pairing second = PairingStore::reset(m_support);
        QCOMPARE(first.token.size(), 22U);
        QCOMPARE(second.token.size(), 22U);
        QVERIFY(first != second);
    }

    void supportFolderWithoutPermissionStillGivesARecord()
    {
        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        const QTemporaryDir own;
        useSupport(own.path().toStdString());
        fs::permissions(support(), fs::perms::owner_read | fs::perms::owner_exec);
        const Pairing first = Pairing::load(m_support);
        const Pairing second = Pairing::load(m_support);
        QVERIFY(first != second);
        QVERIFY(fs::is_empty(support()));
        fs::permissions(support(), fs::perms::owner_all);
        const Pairing third = Pairing::load(m_support);
        QVERIFY(Pairing::load(m_support) == third);
    }

private:
    inline static const QByteArray goodKey = QByteArray(32, '\0').toBase64();

    void useSupport(const fs::path& folder) { m_support = SupportFolder(folder); }

    const fs::path& support() const { return m_support.path(); }
    fs::path file() const { return support() / "pairing.json"; }

    QByteArray contents() const
    {
        return QByteArray::fromStdString(Files::read(file()).value_or("(none)"));
    }

    void write(const QByteArray& bytes) const
    {
        std::ofstream(file(), std::ios::binary) << bytes.toStdString();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    SupportFolder m_support{{}};
};

QTEST_GUILESS_MAIN(PairingTest)
#include "PairingTest.moc"
