#include "Ardo/Kiln/Types/Guid.h"

#include <boost/uuid/entropy_error.hpp>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ardo::Kiln::Types
{

namespace
{

enum ExitCode
{
    Refused,
    WrongCode,
    Generated,
    NoFilter
};

/// Makes every later getrandom of this process fail with EPERM.
bool DenyRandom()
{
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_getrandom, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{.len = std::size(filter), .filter = filter};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

ExitCode GenerateWithoutRandom()
{
    if (!DenyRandom())
    {
        return NoFilter;
    }
    try
    {
        Guid::Generate();
        return Generated;
    }
    catch (const boost::uuids::entropy_error& error)
    {
        return error.errcode() == EPERM ? Refused : WrongCode;
    }
}

} // namespace

TEST(GuidEntropyTest, AFailingRandomSourceIsReportedWithItsCode)
{
    const pid_t child = ::fork(); // the filter cannot be taken off again
    ASSERT_NE(child, -1);
    if (child == 0)
    {
        ::_exit(GenerateWithoutRandom());
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == NoFilter)
    {
        GTEST_SKIP() << "this machine lets no process filter its system calls";
    }
    EXPECT_EQ(WEXITSTATUS(status), Refused);
}

} // namespace Ardo::Kiln::Types
