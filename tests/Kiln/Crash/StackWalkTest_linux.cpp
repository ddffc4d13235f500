#include "tests/Kiln/Crash/StackWalkTest.h"

#include "Ardo/Kiln/Platform/ModulePath.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ardo::Kiln::Crash
{

TEST(StackWalkTest, AnotherProcessIsWalkedFromOutside)
{
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    void* const memory =
        ::mmap(nullptr, sizeof(Sample::Point), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    auto& point = *new (memory) Sample::Point;
    const pid_t child = ::fork();
    if (child == 0)
    {
        Sample::Outer(point,
                      [&]
                      {
                          static_cast<void>(!::write(ready[1], "", 1));
                          for (;;)
                          {
                              ::pause();
                          }
                      });
    }
    ::close(ready[1]);
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    ProcessSymbols symbols(static_cast<std::uint32_t>(child));
    const auto frames = symbols.Walk(static_cast<std::uint32_t>(child), point.context, 64).innermost;
    ExpectSample(frames, point);
    EXPECT_TRUE(frames.at(0).inlined);
    EXPECT_NE(frames.at(1).function.find("::Middle("), std::string::npos) << Describe(frames); // with its parameters
    EXPECT_EQ(frames.back().function, "_start") << Describe(frames);
    EXPECT_FALSE(frames.back().sourceFile.ends_with("StackSample.cpp"))
        << Describe(frames); // where the nearest line is
    const auto module = ModuleOf(static_cast<std::uint32_t>(child), point.context.Rip);
    EXPECT_TRUE(module && module->file == Platform::ExecutablePath());

    ::kill(child, SIGKILL);
    EXPECT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_TRUE(ProcessSymbols(static_cast<std::uint32_t>(child)).Walk(1, point.context, 8).innermost.size() < 2);
    EXPECT_FALSE(ModuleOf(static_cast<std::uint32_t>(child), point.context.Rip));
    ::munmap(memory, sizeof(Sample::Point));
    ::close(ready[0]);
}

TEST(StackWalkTest, SeparateDebugInformationIsFoundBesideTheProgram)
{
    // A copy of this very program, stripped as for users, is what walks its stack.
    const Support::ScopedTempDir folder;
    std::filesystem::copy_file("/proc/self/exe", folder / "stripped");
    const auto run = [&](const std::string& prepare)
    { return Support::RunShell(prepare + " && ./stripped --gtest_filter=StackWalkTest.OwnFunctions*", folder.Path()); };
    const auto stripped =
        run("objcopy --only-keep-debug stripped names && objcopy --strip-all --add-gnu-debuglink=names stripped");
    EXPECT_EQ(stripped.status, 0) << stripped.output << stripped.error;
    EXPECT_EQ(run("mkdir .debug && mv names .debug").status, 0);
    EXPECT_EQ(run("mv .debug/names elsewhere").status, 1); // so it was the file that had the names
}

} // namespace Ardo::Kiln::Crash
