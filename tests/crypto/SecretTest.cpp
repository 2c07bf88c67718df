#include "crypto/Secret.h"

#include <QtTest/QTest>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <span>
#include <utility>

namespace {

/// The block that is looked at when it is freed, its size, and whether it was then all zero.
const void* watched = nullptr;
std::size_t watchedSize = 0;
bool wasWiped = false;

void look(const void* block)
{
    if (!block || block != watched)
        return;
    const std::span bytes(static_cast<const volatile char*>(block), watchedSize);
    wasWiped = std::all_of(bytes.begin(), bytes.end(), [](char byte) { return byte == 0; });
    watched = nullptr;
}

} // namespace

/// Replace those of the whole program.
void operator delete[](void* block) noexcept
{
    look(block);
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    look(block);
    std::free(block);
}

void* operator new[](std::size_t size)
{
    if (void* block = std::malloc(size == 0 ? 1 : size))
        return block;
    throw std::bad_alloc();
}

using namespace korvane;

class SecretTest : public QObject {
    Q_OBJECT

private slots:
    void init() { wasWiped = false; }

    void endOfASecretWipesIt()
    {
        {
            const Secret secret = watchedSecret();
        }
        QVERIFY(wasWiped);
    }

    void replacedSecretIsWiped()
    {
        Secret secret = watchedSecret();
        secret = Secret(std::string_view("another"));
        QVERIFY(wasWiped);
        QCOMPARE(std::string(secret.view()), std::string("another"));
    }

    void shortenedSecretLeavesNoCopy()
    {
        Secret secret = watchedSecret();
        secret.shorten(4);
        QVERIFY(wasWiped);
        QCOMPARE(std::string(secret.view()), std::string("pass"));
    }

    void movedSecretIsNotCopied()
    {
        Secret secret = watchedSecret();
        const char* const place = secret.view().data();
        const Secret other = std::move(secret);
        QVERIFY(other.view().data() == place); // QCOMPARE would read it as a text with a NUL
        QCOMPARE(std::string(other.view()), std::string("password"));
    }

private:
    static Secret watchedSecret()
    {
        Secret secret(std::string_view("password"));
        watched = secret.view().data();
        watchedSize = secret.size();
        return secret;
    }
};

QTEST_GUILESS_MAIN(SecretTest)
#include "SecretTest.moc"
