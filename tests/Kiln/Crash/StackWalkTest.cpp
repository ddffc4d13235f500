#include "tests/Kiln/Crash/StackWalkTest.h"

#include "Ardo/Kiln/Exception/SymbolHandler.h"
#include "Ardo/Kiln/Platform/ModulePath.h"
#include "Ardo/Kiln/Platform/ProcessId.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace Ardo::Kiln::Crash
{

namespace
{

/// The first frame of a function with \p name.
std::vector<StackFrame>::const_iterator Find(const std::vector<StackFrame>& frames, const std::string& name)
{
    return std::find_if(frames.begin(), frames.end(),
                        [&](const StackFrame& frame) { return frame.function.find(name) != std::string::npos; });
}

} // namespace

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

void ExpectSample(const std::vector<StackFrame>& frames, const Sample::Point& point)
{
    ASSERT_GE(frames.size(), 3U);
    struct Row
    {
        const char* function;
        std::uint32_t line;
        bool inlined;
    };
    const std::vector<Row> rows = {{"Place", point.inlinedLine, true},
                                   {"Middle", point.middleLine, false},
                                   {"Sample::Outer", point.outerLine, false}};
    const bool tellsInlined = frames.front().inlined;
    auto frame = frames.begin();
    for (const Row& row : rows)
    {
        if (row.inlined && !tellsInlined)
        {
            continue;
        }
        EXPECT_NE(frame->function.find(row.function), std::string::npos) << Describe(frames);
        if (tellsInlined || row.line != point.middleLine) // else one of the lines around the inlined call
        {
            EXPECT_EQ(frame->line, row.line) << Describe(frames);
        }
        EXPECT_EQ(frame->inlined, row.inlined) << Describe(frames);
        EXPECT_TRUE(frame->sourceFile.ends_with("StackSample.cpp")) << Describe(frames);
        EXPECT_EQ(frame->module, Platform::ExecutablePath());
        EXPECT_LT(frame->moduleBase, frame->address);
        ++frame;
    }
    EXPECT_TRUE(std::any_of(frames.begin(), frames.end(), [](const auto& one) { return one.function == "main"; }))
        << Describe(frames);
}

TEST(StackWalkTest, OwnFunctionsHaveNamesFilesAndLinesInlinedOnesIncluded)
{
    const auto point = std::make_unique<Sample::Point>();
    CONTEXT& context = point->context;
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
                      Sample::CopyStack(context.Rsp, top + 1, std::size(top) - 1);
                      nowhere.Rip = 0;
                      nowhere.Rsp = reinterpret_cast<std::uint64_t>(top);
                      fromNowhere = symbols.Walk(Platform::OwnThreadId(), nowhere, 64).innermost;
                  });
    ExpectSample(frames, *point);
    const std::size_t inlined = frames.front().inlined ? 1 : 0;
    EXPECT_EQ(shortened.innermost.size(), 2 + inlined)
        << Describe(shortened.innermost); // the inlined one does not count
    ASSERT_EQ(shortened.outermost.size(), 3U) << Describe(shortened.outermost);
    EXPECT_EQ(shortened.outermost.back().address, frames.back().address);
    const auto calls = std::count_if(frames.begin(), frames.end(), [](const StackFrame& one) { return !one.inlined; });
    EXPECT_EQ(shortened.omitted, static_cast<std::size_t>(calls) - 2 - 3);
    ASSERT_GE(fromNowhere.size(), 3U) << Describe(fromNowhere);
    EXPECT_EQ(fromNowhere[0].address, 0U);
    EXPECT_EQ(fromNowhere[0].module, "");
    EXPECT_EQ(Find(fromNowhere, "Middle") - fromNowhere.begin(), 1 + static_cast<long>(inlined))
        << Describe(fromNowhere);
    const auto line = "StackSample.cpp line " + std::to_string(point->outerLine) + "\r\n";
    EXPECT_NE(details.find(line), std::string::npos) << details;
    const auto first = details.substr(0, details.find('\n'));
    EXPECT_NE(first.find(inlined != 0 ? "  [inlined] Place at " : "Middle at "), std::string::npos) << details;

    // Return addresses say what called, however the next instruction came about.
    ProcessSymbols symbols(Platform::OwnProcessId());
    const auto described = symbols.Describe(std::vector<std::uint64_t>{Find(frames, "Sample::Outer")->address, 0, 1});
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

TEST(StackWalkTest, ModulesAreFoundByAddress)
{
    const int local = 0;
    EXPECT_NE(
        Exception::SymbolHandler::GetModuleName(reinterpret_cast<const void*>(&Exception::SymbolHandler::GetModuleName))
            .find(L"Common."),
        std::wstring::npos);
    EXPECT_EQ(Exception::SymbolHandler::GetModuleName(&local), L""); // the stack
    EXPECT_EQ(Exception::SymbolHandler::GetModuleName(nullptr), L"");
}

} // namespace Ardo::Kiln::Crash
