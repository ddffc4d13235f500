// The reports of one fault are written in three ways: by the handler's code, by the process outside when the handler's
// filters cannot run, and by the thread at fault when that fails, too. A person must not see a difference.

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultDescription_linux.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/Writer/CrashWriterProcess_linux.h"
#include "Ardo/Kiln/Crash/Writer/FaultReports.h"
#include "Ardo/Kiln/Crash/Writer/LastResort_linux.h"
#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"

#include "tests/Kiln/Crash/StackSample.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/ScopedVariable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <regex>
#include <string>
#include <vector>

namespace Ardo::Kiln::Crash
{

namespace
{

using ::testing::HasSubstr;

struct Way
{
    const char* name;
    void (*write)(EXCEPTION_POINTERS* pointers);
};

CrashRequest& Describe(EXCEPTION_POINTERS* pointers)
{
    static CrashRequest g_request;
    g_request = {};
    DescribeFault(pointers, g_request);
    return g_request;
}

constexpr Way Ways[] = {
    {"handler", [](EXCEPTION_POINTERS* pointers) { FaultReports(pointers).Write(); }},
    {"process outside",
     [](EXCEPTION_POINTERS* pointers)
     {
         CrashRequest& request = Describe(pointers);
         request.tasks = CrashRequest::CreateFiles;
         CrashWriterProcess::Run(request, -1, 60'000);
     }},
    {"last resort", [](EXCEPTION_POINTERS* pointers) { WriteReportsHere(Describe(pointers)); }},
};

/// What \p way says about an integer overflow of this thread.
std::string Write(const Way& way)
{
    const auto point = std::make_unique<Sample::Point>();
    std::string said;
    Sample::Outer(*point,
                  [&]
                  {
                      EXCEPTION_RECORD record = {};
                      record.ExceptionCode = FaultCode::IntOverflow;
                      record.ExceptionAddress = reinterpret_cast<void*>(point->context.Rip);
                      EXCEPTION_POINTERS pointers = {&record, &point->context};
                      testing::internal::CaptureStderr();
                      way.write(&pointers);
                      said = testing::internal::GetCapturedStderr();
                  });
    return said;
}

class ReportWaysTest : public testing::Test
{
protected:
    ReportWaysTest()
    {
        testing::internal::CaptureStderr();
        Exception::MiniDumpGenerator::CreateDumpDirectory();
        testing::internal::GetCapturedStderr();
    }
    ~ReportWaysTest() override { Exception::MiniDumpGenerator::SetFakeWriteDump(false); }

    const Support::ScopedTempDir m_data;
    const Support::ScopedVariable m_variable{"XDG_DATA_HOME", m_data.Path()};
    const std::filesystem::path m_folder = m_data / "Orbex/CrashDumps";
};

} // namespace

TEST_F(ReportWaysTest, FilesAndMessagesAreTheSame)
{
    for (const Way& way : Ways)
    {
        SCOPED_TRACE(way.name);
        EXPECT_THAT(Write(way), HasSubstr("Report file created.\n"));
        const auto names = Support::NamesIn(m_folder);
        ASSERT_EQ(names.size(), 2U) << testing::PrintToString(names);
        const std::regex dump(R"(CrashReportTests_0\.0\.0\.0_\[\d+-\d+_\d+-\d+-\d+\]\.dmp)");
        EXPECT_TRUE(std::regex_match(names[0], dump)) << names[0];
        EXPECT_EQ(std::filesystem::path(names[0]).replace_extension(".txt"), names[1]);
        EXPECT_EQ(Support::ReadFile(m_folder / names[0]).substr(0, 4), "MDMP");
        const auto report = Support::ReadFile(m_folder / names[1]);
        EXPECT_THAT(report, HasSubstr("Revision: 0.0.0.0 \r\nRelease mode \r\n"));
        EXPECT_THAT(report,
                    HasSubstr("Exception code: C0000095 INT_OVERFLOW\r\nFaulting module: CrashReportTests\r\n"));
        EXPECT_THAT(report, HasSubstr("\r\n Fault \r\nProcess: " + std::to_string(::getpid()) + ", thread: "));
        EXPECT_THAT(report, HasSubstr("Error code (C0000095) : INT_OVERFLOW\r\nAt address 0x"));
        for (const auto& name : names)
        {
            std::filesystem::remove(m_folder / name);
        }
    }
}

TEST_F(ReportWaysTest, FailuresAndFakedDumpsAreSaidInTheSameWords)
{
    Exception::MiniDumpGenerator::SetFakeWriteDump(true);
    for (const Way& way : Ways)
    {
        EXPECT_THAT(Write(way), ::testing::StartsWith("Minidump faked.\nWriting report file ...\n")) << way.name;
    }
    EXPECT_EQ(Support::NamesIn(m_folder).size(), std::size(Ways));
    Exception::MiniDumpGenerator::SetFakeWriteDump(false);
    std::filesystem::remove_all(m_folder);
    Support::WriteFile(m_folder, ""); // not even root can create a file in a file
    for (const Way& way : Ways)
    {
        const std::string said = Write(way);
        EXPECT_THAT(said, ::testing::StartsWith(
                              "CreateFile failed. Error: " + std::to_string(ENOTDIR) +
                              " \nWriting report file ...\nError writing the crash log : Not a directory\r\n"))
            << way.name;
        // After the last resort nobody else can say anything: the text itself goes to the console.
        EXPECT_EQ(said.find("Exception code: C0000095 INT_OVERFLOW\r\n") != std::string::npos,
                  way.write == std::end(Ways)[-1].write)
            << way.name;
    }
}

} // namespace Ardo::Kiln::Crash
