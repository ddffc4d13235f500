#include "Ardo/Kiln/Types/Guid.h"

#include <boost/uuid/entropy_error.hpp>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Ardo::Kiln::Types
{

namespace
{

/// Ends the process with the code of the random source's failure, which is made to be EPERM.
void GenerateWithoutRandomSource()
{
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_getrandom, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{.len = std::size(filter), .filter = filter};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
    try
    {
        Guid::Generate();
    }
    catch (const boost::uuids::entropy_error& error)
    {
        ::_exit(static_cast<int>(error.errcode()));
    }
}

} // namespace

TEST(GuidDeathTest, AFailingRandomSourceIsReportedWithItsCode)
{
    // In a child process, because the filter cannot be taken off again.
    EXPECT_EXIT(GenerateWithoutRandomSource(), ::testing::ExitedWithCode(EPERM), "");
}

} // namespace Ardo::Kiln::Types
