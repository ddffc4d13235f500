#include "Ardo/Kiln/Crash/Report/CrashReportText.h"

#include "Ardo/Kiln/Crash/FaultCode.h"

#include <gtest/gtest.h>

#include <tuple>

namespace Ardo::Kiln::Crash
{

namespace
{

using FaultCode::AccessViolation;
using FaultCode::CxxException;
using FaultCode::InPageError;

constexpr std::uint64_t Untold = ~std::uint64_t{0};

/// An access violation at 09:07:03 on 5 March 2026, half an hour and five ahead of UTC.
CrashDetails SomeFault()
{
    CrashDetails details;
    auto& facts = details.facts;
    facts.processId = 4711;
    facts.threadId = 4712;
    facts.time = 1772681823; // 2026-03-05T03:37:03Z
    facts.utcOffset = 5 * 3600 + 1800;
    facts.code = AccessViolation;
    facts.flags = FaultFlag::Noncontinuable;
    facts.address = 0x7F00001234AB;
    static constexpr std::uint64_t information[] = {FaultAccess::Write, 0x10};
    facts.information = information;
    facts.applicationVersion = "2.5.0.1";
    details.module = LoadedModule{"/opt/orbex/lib/libScan.so.1", 0x7F0000120000};
    details.callStack.innermost = {
        {0x7F00001234AB, "/opt/orbex/lib/libScan.so.1", 0x7F0000120000, "Scan::Pixel(int)", "/src/Pixel.h", 12, true},
        {0x7F00001234AB, "/opt/orbex/lib/libScan.so.1", 0x7F0000120000, "Scan::Row(int)", "/src/Scan.cpp", 1234567,
         false},
        {0x7F0000300010, "C:\\Windows\\ntdll.dll", 0x7F0000300000, "RtlUserThreadStart", "", 0, false},
        {0x7F0000300FFF, "/usr/lib/libc.so.6", 0x7F0000300000, "", "", 0, false},
        {0xBAD, "", 0, "", "", 0, false}};
    constexpr std::uint64_t MiB = 1024 * 1024;
    details.system = {"Some Processor @ 3.00GHz",
                      2000,
                      16384 * MiB,
                      8192 * MiB,
                      2048 * MiB,
                      1024 * MiB,
                      300 * MiB,
                      400 * MiB,
                      12345 * MiB,
                      "Some System",
                      "12 (name), Kernel 6.1"};
    return details;
}

} // namespace

TEST(CrashReportTextTest, ReportHasEveryLineInItsOrderWithItsEnd)
{
    auto details = SomeFault();
    const std::string head = "//=====================================================\r\n"
                             "Date 5:3:2026. Time 9:7 \r\n"
                             "Revision: 2.5.0.1 \r\n"
                             "Release mode \r\n"
                             "\r\n//=====================================================\r\n";
    const std::string stack = "Faulting module: libScan.so.1\r\n"
                              "  [inlined] Scan::Pixel(int) at /src/Pixel.h line 12\r\n"
                              "  Scan::Row(int) at /src/Scan.cpp line 1234567\r\n"
                              "  RtlUserThreadStart in ntdll.dll + 0x10\r\n"
                              "  0x00007F0000300FFF in libc.so.6 + 0xFFF\r\n"
                              "  0x0000000000000BAD in unknown module\r\n";
    const std::string place = "At address 0x00007F00001234AB inside /opt/orbex/lib/libScan.so.1 loaded at base address "
                              "0x00007F0000120000\r\nExceptionFlag: IS_DISPATCHING EXCEPTION_NONCONTINUABLE \r\n";
    const std::string system = "\r\n Hardware \r\n"
                               "Processor: Some Processor @ 3.00GHz\r\n"
                               "Number Of Processors: 2000\r\n"
                               "Physical Memory: 16384 MiB, available 8192 MiB\r\n"
                               "Swap Memory: 2048 MiB, available 1024 MiB\r\n"
                               "Process Memory: 300 MiB, peak 400 MiB, address space 12345 MiB\r\n"
                               "\r\n Operation System\r\n"
                               "Some System 12 (name), Kernel 6.1\r\n";
    EXPECT_EQ(ReportText(details),
              head + "Exception code: C0000005 ACCESS_VIOLATION\r\n" + stack +
                  "\r\n Fault \r\nProcess: 4711, thread: 4712\r\nError code (C0000005) : ACCESS_VIOLATION\r\n" + place +
                  "Invalid operation: The thread attempted to WRITE to inaccessible data at address "
                  "0x0000000000000010\r\n" +
                  system);

    details.facts.code = CxxException;
    details.exceptionType = "std::runtime_error";
    details.facts.exceptionMessage = "no beam";
    details.callStack.omitted = 15840;
    details.callStack.outermost = {{0x7F0000300010, "/bin/orbex", 0x7F0000300000, "main", "", 0, false}};
    details.throwStack = {
        {0x7F0000124000, "/opt/orbex/lib/libScan.so.1", 0x7F0000120000, "Scan::Start()", "/src/Scan.cpp", 7, false}};
    EXPECT_EQ(ReportText(details),
              head + "Exception code: E06D7363 CXX_EXCEPTION\r\nException message: no beam \r" + stack +
                  "\r\n Outermost calls, after 15840 others \r\n  main in orbex + 0x10\r\n"
                  "\r\n Thrown at \r\n  Scan::Start() at /src/Scan.cpp line 7\r\n" +
                  "\r\n Fault \r\nProcess: 4711, thread: 4712\r\nError code (E06D7363) : CXX_EXCEPTION\r\n" + place +
                  "Exception thrown is of type std::runtime_error\r\nException message: no beam\r\n" + system);

    const auto nothing = ReportText({});
    EXPECT_NE(nothing.find("Date 1:1:1970. Time 0:0 \r\nRevision:  \r\n"), std::string::npos) << nothing;
    EXPECT_NE(nothing.find("00000000 Unknown exception\r\nFaulting module: unknown\r\n\r\n Fault"), std::string::npos)
        << nothing;
    EXPECT_NE(nothing.find("Processor: unknown\r\n"), std::string::npos) << nothing;
}

TEST(CrashReportTextTest, ConsoleBlockTellsWhatTheInformationWordsSay)
{
    struct Row
    {
        std::uint32_t code;
        std::vector<std::uint64_t> information;
        std::string lines;
    };
    const std::string read = "Invalid operation: The thread attempted to READ inaccessible data at address ";
    for (const Row& row : {
             Row{AccessViolation, {0, 0xDEAD}, read + "0x000000000000DEAD\n"},
             Row{AccessViolation,
                 {1, 0},
                 "Invalid operation: The thread attempted to WRITE to inaccessible data at address "
                 "0x0000000000000000\n"},
             Row{AccessViolation,
                 {8, 1},
                 "Invalid operation: The thread causes a user-mode data execution prevention (DEP) violation at "
                 "address 0x0000000000000001\n"},
             Row{AccessViolation, {5, 1}, "Invalid operation: Unknown at address 0x0000000000000001\n"},
             Row{AccessViolation, {0, Untold}, read + "unknown\n"},
             Row{AccessViolation, {}, "Invalid operation: Unknown at address unknown\n"},
             Row{InPageError,
                 {0, 4096, 0xC000009C},
                 read + "0x0000000000001000\nUnderlying NTSTATUS code that resulted in the exception C000009C\n"},
             Row{FaultCode::IntDivideByZero, {1, 2, 3}, ""},
         })
    {
        auto details = SomeFault();
        details.facts.code = row.code;
        details.facts.information = row.information;
        details.module.reset();
        const auto text = ConsoleText(details);
        const auto begin = text.find("ExceptionFlag: IS_DISPATCHING EXCEPTION_NONCONTINUABLE \n");
        ASSERT_NE(begin, std::string::npos) << text;
        EXPECT_EQ(text.substr(text.find('\n', begin) + 1), row.lines);
        EXPECT_EQ(text.rfind("(EEE) ------------ ERROR ------------ (EEE)\nError code (", 0), 0U) << text;
        EXPECT_NE(text.find(") : " + std::string(ExceptionName(row.code)) +
                            "\nAt address 0x00007F00001234AB inside unknown module "
                            "loaded at base address 0x0000000000000000\n"),
                  std::string::npos)
            << text;
    }
}

TEST(CrashReportTextTest, CodesAndFlagsHaveTheirNames)
{
    // The numbers are written out: they are the system's, and every dump and report ever read has them.
    for (const auto& [code, name] :
         std::initializer_list<std::pair<std::uint32_t, const char*>>{{0xC0000005, "ACCESS_VIOLATION"},
                                                                      {0x80000001, "GUARD_PAGE"},
                                                                      {0x80000002, "DATATYPE_MISALIGNMENT"},
                                                                      {0x80000003, "BREAKPOINT"},
                                                                      {0x80000004, "SINGLE_STEP"},
                                                                      {0xE06D7363, "CXX_EXCEPTION"},
                                                                      {0xC0000006, "IN_PAGE_ERROR"},
                                                                      {0xC0000008, "INVALID_HANDLE"},
                                                                      {0xC000001D, "ILLEGAL_INSTRUCTION"},
                                                                      {0xC0000025, "NONCONTINUABLE_EXCEPTION"},
                                                                      {0xC0000026, "INVALID_DISPOSITION"},
                                                                      {0xC000008C, "ARRAY_BOUNDS_EXCEEDED"},
                                                                      {0xC000008D, "FLT_DENORMAL_OPERAND"},
                                                                      {0xC000008E, "FLT_DIVIDE_BY_ZERO"},
                                                                      {0xC000008F, "FLT_INEXACT_RESULT"},
                                                                      {0xC0000090, "FLT_INVALID_OPERATION"},
                                                                      {0xC0000091, "FLT_OVERFLOW"},
                                                                      {0xC0000092, "FLT_STACK_CHECK"},
                                                                      {0xC0000093, "FLT_UNDERFLOW"},
                                                                      {0xC0000094, "INT_DIVIDE_BY_ZERO"},
                                                                      {0xC0000095, "INT_OVERFLOW"},
                                                                      {0xC0000096, "PRIV_INSTRUCTION"},
                                                                      {0xC00000FD, "STACK_OVERFLOW"},
                                                                      {0xC0000374, "Unknown exception"},
                                                                      {0, "Unknown exception"}})
    {
        EXPECT_EQ(ExceptionName(code), name) << std::hex << code;
    }
    for (const auto& [flags, names] : std::initializer_list<std::pair<std::uint32_t, const char*>>{
             {0x0, "IS_DISPATCHING "},
             {0x1, "IS_DISPATCHING EXCEPTION_NONCONTINUABLE "},
             {0x2, "IS_UNWINDING "},
             {0x18, "IS_DISPATCHING EXCEPTION_STACK_INVALID EXCEPTION_NESTED_CALL "},
             {0x20, "IS_UNWINDING IS_TARGET_UNWIND "}})
    {
        StringSink text;
        AppendFlagNames(text, flags);
        EXPECT_EQ(text.Take(), names) << flags;
    }
}

TEST(CrashReportTextTest, DumpsAreNamedAfterApplicationVersionAndLocalTime)
{
    const auto taggedName = [](std::string_view application, std::string_view version, const ReportTime& time)
    {
        StringSink name;
        AppendTaggedName(name, application, version, time);
        return name.Take();
    };
    const auto facts = SomeFault().facts;
    EXPECT_EQ(taggedName("App", "V", ReportTimeOf(facts.time, facts.utcOffset)), "App_V_[5-3_9-7-3]");
    const ReportTime lastSecond = ReportTimeOf(-1, 0);
    EXPECT_EQ(taggedName("\xC2\xB5/\\A:pp\n", "1.0?", lastSecond), "\xC2\xB5__A_pp__1.0__[31-12_23-59-59]");
    EXPECT_EQ(lastSecond.year, 1969U);
    EXPECT_EQ(taggedName("", "", ReportTimeOf(1709168400, -3600)), "__[29-2_0-0-0]");
}

TEST(CrashReportTextTest, ShortReportSaysWhatIsKnownWithoutStacks)
{
    auto facts = SomeFault().facts;
    facts.logFiles = "/var/log/Guide.log\n/var/log/Guide_Dbg.log\n";
    char memory[4096];
    BufferSink text(memory, sizeof memory);
    AppendShortReport(text, facts, "/opt/orbex/lib/libScan.so.1", 0x7F0000120000, true);
    EXPECT_EQ(text.Text(),
              "//=====================================================\r\n"
              "Date 5:3:2026. Time 9:7 \r\nRevision: 2.5.0.1 \r\nRelease mode \r\n"
              "\r\n//=====================================================\r\n"
              "Exception code: C0000005 ACCESS_VIOLATION\r\nFaulting module: libScan.so.1\r\n"
              "  0x00007F00001234AB in libScan.so.1 + 0x34AB\r\n\r\n"
              "This is a short report: the usual ways to make one did not come to an end. The call stacks are in the "
              "minidump.\r\n\r\n Fault \r\nProcess: 4711, thread: 4712\r\n"
              "Error code (C0000005) : ACCESS_VIOLATION\r\n"
              "At address 0x00007F00001234AB inside /opt/orbex/lib/libScan.so.1 loaded at base address "
              "0x00007F0000120000\r\nExceptionFlag: IS_DISPATCHING EXCEPTION_NONCONTINUABLE \r\n"
              "Invalid operation: The thread attempted to WRITE to inaccessible data at address 0x0000000000000010\r\n"
              "\r\n Log files \r\n/var/log/Guide.log\r\n/var/log/Guide_Dbg.log\r\n");
}

TEST(CrashReportTextTest, TextOfFixedSizeIsCutAtACharacter)
{
    char memory[8];
    BufferSink text(memory, sizeof memory);
    text << "abc" << 42U << Hexadecimal{0xBEEF, 2};
    EXPECT_EQ(text.Text(), "abc42BE");
    EXPECT_TRUE(text.IsCut());
    text << "x"; // would fit nowhere, and never after a gap
    EXPECT_EQ(std::string(memory), "abc42BE");
    BufferSink micro(memory, sizeof memory);
    micro << "123456"
          << "\xC2\xB5m";
    EXPECT_EQ(micro.Text(), "123456");
}

} // namespace Ardo::Kiln::Crash
