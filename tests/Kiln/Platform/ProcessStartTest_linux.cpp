#include "Ardo/Kiln/Platform/ProcessStart.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

TEST(ProcessStartTest, TheSystemSaysWhenAProcessWasStarted)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const auto before = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child == 0)
    {
        const auto start = OwnProcessStart();
        const bool isWritten = start && ::write(ends[1], &*start, sizeof *start) == sizeof *start;
        ::_exit(isWritten ? 0 : 1);
    }
    ASSERT_GT(child, 0);
    const auto after = std::chrono::steady_clock::now();
    ProcessStart start{};
    EXPECT_EQ(::read(ends[0], &start, sizeof start), static_cast<ssize_t>(sizeof start));
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    ::close(ends[0]);
    ::close(ends[1]);
    EXPECT_GT(start.resolution.count(), 0);
    EXPECT_LE(start.time, after);
    EXPECT_GE(start.time + start.resolution, before);
}

} // namespace Ardo::Kiln::Platform
