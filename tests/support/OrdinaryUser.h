#pragma once

#include <unistd.h>

namespace orvo::test {

/// Drops root's rights during the lifetime of the object, so that file permissions apply.
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
