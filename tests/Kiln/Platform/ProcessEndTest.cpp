#include "Ardo/Kiln/Platform/ProcessEnd.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace Ardo::Kiln::Platform
{

TEST(ProcessEndDeathTest, NothingRunsAndNothingIsFlushed)
{
    const auto end = []
    {
        std::atexit([] { std::fputs("atexit", stderr); });
        std::setvbuf(stdout, nullptr, _IOFBF, 1000);
        std::fputs("not flushed", stdout);
        EndProcess(42);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(42), "^$");
}

} // namespace Ardo::Kiln::Platform
