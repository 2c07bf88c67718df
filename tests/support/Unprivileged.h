#pragma once

#include <unistd.h>

namespace korvane {

/// RAII: if the tests run as root, sets the effective user to "nobody", so that file permissions
/// apply. Skip the test unless `works()`.
class Unprivileged {
public:
    Unprivileged() : m_user(geteuid()), m_works(m_user != 0 || seteuid(nobody) == 0) { }
    ~Unprivileged()
    {
        if (geteuid() != m_user)
            m_works = seteuid(m_user) == 0;
    }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

    bool works() const { return m_works; }

private:
    static constexpr uid_t nobody = 65534;

    const uid_t m_user;
    bool m_works;
};

} // namespace korvane
