#include "backup/KeyBag.h"

#include "backup/BackupError.h"
#include "crypto/Decryption.h"

namespace korvane {

namespace {

/// Ten times what phones ask for, which takes a few seconds.
constexpr std::uint32_t mostIterations = 100'000'000;

[[noreturn]] void throwDamaged(const std::string& what)
{
    throw BackupError(
        "The key bag in Manifest.plist is damaged (" + what + "). Make the backup again.");
}

std::uint32_t bigEndian(std::string_view fourBytes)
{
    std::uint32_t value = 0;
    for (const char byte : fourBytes)
        value = value << 8 | static_cast<std::uint8_t>(byte);
    return value;
}

} // namespace

/// Fills a KeyBag entry by entry.
class KeyBagReader {
public:
    KeyBag read(std::string_view bytes)
    {
        while (!bytes.empty())
            bytes.remove_prefix(readEntry(bytes));
        endClass();
        check();
        return std::move(m_bag);
    }

private:
    /// Returns the size of the entry.
    std::size_t readEntry(std::string_view bytes)
    {
        constexpr std::size_t headSize = 8;
        if (bytes.size() < headSize)
            throwDamaged("it ends within an entry");
        const std::size_t length = bigEndian(bytes.substr(4, 4));
        if (length > bytes.size() - headSize)
            throwDamaged("an entry is longer than the key bag");
        const std::string_view tag = bytes.substr(0, 4);
        const std::string_view value = bytes.substr(headSize, length);
        if (tag == "UUID")
            beginClass();
        else if (m_class)
            readIntoClass(tag, value);
        else
            readIntoBag(tag, value);
        return headSize + length;
    }

    /// The first UUID is that of the bag.
    void beginClass()
    {
        endClass();
        if (m_isNamed)
            m_class.emplace();
        m_isNamed = true;
    }

    /// Keeps the class if the password unlocks it.
    void endClass()
    {
        constexpr std::uint32_t byPassword = 2;
        if (m_class && (m_class->wrap & byPassword) != 0 && !m_class->wrapped.empty())
            m_bag.m_classes.push_back(*std::move(m_class));
        m_class.reset();
    }

    void readIntoClass(std::string_view tag, std::string_view value)
    {
        if (tag == "CLAS")
            m_class->protectionClass = integer(value);
        else if (tag == "WRAP")
            m_class->wrap = integer(value);
        else if (tag == "WPKY")
            m_class->wrapped = value;
    }

    void readIntoBag(std::string_view tag, std::string_view value)
    {
        if (tag == "SALT")
            m_bag.m_lastRound.salt = value;
        else if (tag == "ITER")
            m_bag.m_lastRound.iterations = integer(value);
        else if (tag == "DPSL")
            firstRound().salt = value;
        else if (tag == "DPIC")
            firstRound().iterations = integer(value);
    }

    DerivationRound& firstRound()
    {
        return m_bag.m_firstRound ? *m_bag.m_firstRound : m_bag.m_firstRound.emplace();
    }

    static std::uint32_t integer(std::string_view value)
    {
        if (value.size() != 4)
            throwDamaged("an integer does not have four bytes");
        return bigEndian(value);
    }

    static void check(const DerivationRound& round)
    {
        if (round.iterations == 0 || round.salt.empty())
            throwDamaged("the salt or the number of iterations is missing");
        if (round.iterations > mostIterations)
            throwDamaged("it asks for " + std::to_string(round.iterations) + " iterations");
    }

    void check() const
    {
        check(m_bag.m_lastRound);
        if (m_bag.m_firstRound)
            check(*m_bag.m_firstRound);
        if (m_bag.m_classes.empty())
            throwDamaged("it has no key that a password unlocks");
    }

    KeyBag m_bag;
    bool m_isNamed = false; ///< the first UUID was read
    std::optional<ClassKey> m_class; ///< the one that is being read
};

KeyBag KeyBag::parse(std::string_view bytes)
{
    return KeyBagReader().read(bytes);
}

Secret KeyBag::keyOf(const Secret& password) const
{
    std::optional<Secret> first;
    if (m_firstRound)
        first = deriveKey(Digest::Sha256, password, m_firstRound->salt, m_firstRound->iterations);
    std::optional<Secret> key;
    if (first || !m_firstRound)
        key = deriveKey(
            Digest::Sha1, first ? *first : password, m_lastRound.salt, m_lastRound.iterations);
    if (!key)
        throw BackupError("OpenSSL cannot derive the key of the backup.");
    return *std::move(key);
}

std::optional<KeyBag::Keys> KeyBag::unlock(const Secret& password) const
{
    const Secret key = keyOf(password);
    Keys keys;
    for (const ClassKey& each : m_classes) {
        if (auto unwrapped = unwrapKey(key, each.wrapped))
            keys.insert_or_assign(each.protectionClass, *std::move(unwrapped));
    }
    return keys.empty() ? std::nullopt : std::optional(std::move(keys));
}

} // namespace korvane
