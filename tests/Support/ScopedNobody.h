#pragma once

#include <gtest/gtest.h>

#include <grp.h>
#include <unistd.h>
#include <vector>

namespace Ardo::Kiln::Support
{

/// The user and the group "nobody".
constexpr unsigned Nobody = 65534;

/// While it lives, a privileged process acts as a user who owns nothing and is in no group of others.
class ScopedNobody
{
public:
    ScopedNobody()
    {
        const int groups = ::getgroups(0, nullptr);
        m_groups.resize(static_cast<std::size_t>(groups));
        ::getgroups(groups, m_groups.data());
        ::setgroups(0, nullptr);
        EXPECT_EQ(::setegid(Nobody), 0);
        EXPECT_EQ(::seteuid(Nobody), 0);
    }
    ~ScopedNobody()
    {
        EXPECT_EQ(::seteuid(0), 0);
        EXPECT_EQ(::setegid(0), 0);
        ::setgroups(m_groups.size(), m_groups.data());
    }
    ScopedNobody(const ScopedNobody&) = delete;
    ScopedNobody& operator=(const ScopedNobody&) = delete;

private:
    std::vector<gid_t> m_groups;
};

} // namespace Ardo::Kiln::Support
