#include "Ardo/Kiln/Crash/Process/StackWalk.h"

#include "Ardo/Kiln/Exception/SymbolHandler.h"
#include "Ardo/Kiln/Platform/ModulePath.h"
#include "Ardo/Kiln/Platform/ProcessId.h"

#include "tests/Kiln/Crash/StackSample.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <sys/mman.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ardo::Kiln::Crash
{

namespace
{

std::string Describe(const std::vector<StackFrame>& frames)
{
    std::string text;
    for (const auto& frame : frames)
    {
        text += (frame.inlined ? "[inlined] " : "") + frame.function + " " + frame.sourceFile + ":" +
                std::to_string(frame.line) + " " + frame.module + "\n";
    }
    return text;
}

/// Expects the three functions of the sample innermost.
void ExpectSample(const std::vector<StackFrame>& frames, const Sample::Point& point)
{
    ASSERT_GE(frames.size(), 3U);
    auto frame = frames.begin();
    struct Row
    {
        const char* function;
        std::uint32_t line;
        bool inlined;
    };
    for (const Row& row : {Row{"Place", point.inlinedLine, true}, Row{"::Middle(", point.middleLine, false},
                           Row{"Sample::Outer(", point.outerLine, false}})
    {
        EXPECT_NE(frame->function.find(row.function), std::string::npos) << Describe(frames);
        EXPECT_EQ(frame->line, row.line) << Describe(frames);
        EXPECT_EQ(frame->inlined, row.inlined) << Describe(frames);
        EXPECT_TRUE(frame->sourceFile.ends_with("/StackSample.cpp")) << Describe(frames);
        EXPECT_EQ(frame->module, Platform::ExecutablePath());
        EXPECT_LT(frame->moduleBase, frame->address);
        ++frame;
    }
    const auto isMain = [](const StackFrame& one) { return one.function == "main"; };
    EXPECT_TRUE(std::any_of(frames.begin(), frames.end(), isMain)) << Describe(frames);
}

} // namespace

TEST(StackWalkTest, OwnFunctionsHaveNamesFilesAndLinesInlinedOnesIncluded)
{
    const auto point = std::make_unique<Sample::Point>();
    CONTEXT& context = point->request.context;
    std::vector<StackFrame> frames, fromNowhere;
    StackEnds shortened;
    std::string details;
    Sample::Outer(*point,
                  [&]
                  {
                      ProcessSymbols symbols(Platform::OwnProcessId());
                      frames = symbols.Walk(Platform::OwnThreadId(), context, 64).innermost;
                      shortened = symbols.Walk(Platform::OwnThreadId(), context, 2, 3);
                      details = Exception::SymbolHandler::GetStackDetails(&context, 32);
                      // As after a call through a null pointer: the return address is on top of the stack.
                      auto nowhere = context;
                      std::uint64_t top[64] = {context.Rip};
                      const iovec here{top + 1, sizeof top - sizeof *top};
                      const iovec stack{reinterpret_cast<void*>(context.Rsp), here.iov_len};
                      ASSERT_GT(::process_vm_readv(::getpid(), &here, 1, &stack, 1, 0), 0);
                      nowhere.Rip = 0;
                      nowhere.Rsp = reinterpret_cast<std::uint64_t>(top);
                      fromNowhere = symbols.Walk(Platform::OwnThreadId(), nowhere, 64).innermost;
                  });
    ExpectSample(frames, *point);
    EXPECT_EQ(shortened.innermost.size(), 3U) << Describe(shortened.innermost); // the inlined one does not count
    ASSERT_EQ(shortened.outermost.size(), 3U) << Describe(shortened.outermost);
    EXPECT_EQ(shortened.outermost.back().address, frames.back().address);
    const auto calls = std::count_if(frames.begin(), frames.end(), [](const StackFrame& one) { return !one.inlined; });
    EXPECT_EQ(shortened.omitted, static_cast<std::size_t>(calls) - 2 - 3);
    ASSERT_GE(fromNowhere.size(), 3U) << Describe(fromNowhere);
    EXPECT_EQ(fromNowhere[0].address, 0U);
    EXPECT_EQ(fromNowhere[0].module, "");
    EXPECT_NE(fromNowhere[2].function.find("::Middle("), std::string::npos) << Describe(fromNowhere);
    const auto line = "/StackSample.cpp line " + std::to_string(point->outerLine) + "\r\n";
    EXPECT_NE(details.find(line), std::string::npos) << details;
    EXPECT_EQ(details.rfind("  [inlined] Place at ", 0), 0U) << details;

    // Return addresses say what called, however the next instruction came about.
    ProcessSymbols symbols(Platform::OwnProcessId());
    const auto described = symbols.Describe(std::vector<std::uint64_t>{frames[2].address, 0, 1});
    ASSERT_EQ(described.size(), 3U);
    EXPECT_EQ(described[0].line, point->outerLine);
    EXPECT_EQ(described[1].function + described[2].module, "");

    // A stack that cannot be read ends at once, and one that goes round in circles ends.
    auto broken = context;
    broken.Rsp = broken.Rbp = 8;
    EXPECT_LE(symbols.Walk(Platform::OwnThreadId(), broken, 64).innermost.size(), 3U);
    broken.Rip = broken.Rsp;
    EXPECT_EQ(symbols.Walk(Platform::OwnThreadId(), broken, 64, 9).innermost.size(), 1U);
    EXPECT_TRUE(symbols.Walk(Platform::OwnThreadId(), context, 0).innermost.empty());
}

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
    const auto frames = symbols.Walk(static_cast<std::uint32_t>(child), point.request.context, 64).innermost;
    ExpectSample(frames, point);
    const auto module = ModuleOf(static_cast<std::uint32_t>(child), point.request.context.Rip);
    EXPECT_TRUE(module && module->file == Platform::ExecutablePath());

    ::kill(child, SIGKILL);
    EXPECT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_TRUE(ProcessSymbols(static_cast<std::uint32_t>(child)).Walk(1, point.request.context, 8).innermost.size() <
                2);
    EXPECT_FALSE(ModuleOf(static_cast<std::uint32_t>(child), point.request.context.Rip));
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

TEST(StackWalkTest, ModulesAreFoundByAddress)
{
    const int local = 0;
    EXPECT_NE(
        Exception::SymbolHandler::GetModuleName(reinterpret_cast<const void*>(&Exception::SymbolHandler::GetModuleName))
            .find(L"libCommon.so"),
        std::wstring::npos);
    EXPECT_NE(Exception::SymbolHandler::GetModuleName(reinterpret_cast<const void*>(&::getppid)).find(L"libc.so.6"),
              std::wstring::npos);
    EXPECT_EQ(Exception::SymbolHandler::GetModuleName(&local), L""); // the stack
    EXPECT_EQ(Exception::SymbolHandler::GetModuleName(nullptr), L"");
}

} // namespace Ardo::Kiln::Crash
