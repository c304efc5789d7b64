#pragma once

#include <unistd.h>

namespace orvo::test {

/// While it lives, this process has the rights of an ordinary user, also when root runs it: permissions mean something.
class OrdinaryUser {
public:
    OrdinaryUser()
    {
        if (m_before == 0)
            static_cast<void>(seteuid(nobody));
    }
    ~OrdinaryUser() { static_cast<void>(seteuid(m_before)); }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    static constexpr uid_t nobody = 65534;
    uid_t m_before = geteuid();
};

} // namespace orvo::test
