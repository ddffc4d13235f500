#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

namespace Ardo::Kiln::Support
{

/// A system call that fails with an error number if one of its arguments has a given value.
struct FailingSystemCall
{
    std::uint32_t number;   ///< SYS_...
    std::uint32_t argument; ///< Index of the argument, from 0.
    std::uint32_t mask;     ///< Bits of the argument that are compared; 0: the call always fails.
    std::uint32_t value;    ///< Value of these bits for which the call fails.
    int error;              ///< An errno value.
};

/// Creating a file without a name; some file systems cannot.
constexpr std::uint32_t WithoutName = O_TMPFILE & ~O_DIRECTORY;
inline constexpr FailingSystemCall NoFilesWithoutName{SYS_openat, 2, WithoutName, WithoutName, EOPNOTSUPP};

/// Runs \p function on a new thread, on which the system call fails, and waits for it.
inline void RunWithFailing(const FailingSystemCall& call, const std::function<void()>& function)
{
    const auto run = [&]
    {
        const auto argument = static_cast<std::uint32_t>(offsetof(seccomp_data, args) + 8 * call.argument);
        sock_filter rules[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                               BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call.number, 0, 4),
                               BPF_STMT(BPF_LD | BPF_W | BPF_ABS, argument),
                               BPF_STMT(BPF_ALU | BPF_AND | BPF_K, call.mask),
                               BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call.value, 0, 1),
                               BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(call.error)),
                               BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
        const sock_fprog program{static_cast<unsigned short>(std::size(rules)), rules};
        ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
        ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
        function();
    };
    std::thread(run).join();
}

} // namespace Ardo::Kiln::Support
