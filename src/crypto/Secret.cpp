#include "crypto/Secret.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <utility>

namespace korvane {

Secret::Secret(std::size_t size) : m_bytes(std::make_unique<char[]>(size)), m_size(size) { }

Secret::Secret(std::string_view bytes) : Secret(bytes.size())
{
    std::copy(bytes.begin(), bytes.end(), m_bytes.get());
}

Secret::Secret(Secret&& other) noexcept
    : m_bytes(std::move(other.m_bytes))
    , m_size(std::exchange(other.m_size, 0))
{
}

Secret& Secret::operator=(Secret&& other) noexcept
{
    std::swap(m_bytes, other.m_bytes); // the destructor of `other` wipes what was here
    std::swap(m_size, other.m_size);
    return *this;
}

Secret::~Secret()
{
    if (m_bytes)
        ::OPENSSL_cleanse(m_bytes.get(), m_size);
}

void Secret::shorten(std::size_t size)
{
    *this = Secret(view().substr(0, size));
}

} // namespace korvane
