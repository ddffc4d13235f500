#include "tests/Kiln/Exception/MiniDumpGeneratorTest.h"

#include "Ardo/Kiln/Crash/Report/ReportFile.h"
#include "Ardo/Kiln/Crash/Writer/FaultReports.h"
#include "Ardo/Kiln/Platform/FileVersion.h"
#include "Ardo/Kiln/Platform/ModulePath.h"
#include "Ardo/Kiln/Platform/ProcessId.h"
#include "Ardo/Kiln/Platform/SystemError.h"
#include "Ardo/Kiln/System/SystemInformation.h"
#include "tests/Support/Process.h"

#include <ctime>
#include <memory>
#include <thread>

namespace Ardo::Kiln::Exception
{

namespace Folders = std::filesystem;

namespace
{

/// \p text without its first error number.
struct ErrorText
{
    explicit ErrorText(const std::string& said)
    {
        constexpr std::string_view Before = "Error: ";
        const std::size_t at = said.find(Before) + Before.size();
        std::size_t digits = 0;
        const int number = std::stoi(said.substr(at), &digits);
        text = said.substr(0, at) + said.substr(at + digits);
        error = std::error_code(number, Platform::SystemErrors());
    }
    /// Whether the reason is that a part of the path is a file. The systems tell it differently.
    bool IsFileInPath() const
    {
        return error == std::errc::not_a_directory || error == std::errc::no_such_file_or_directory;
    }

    std::string text;
    std::error_code error;
};

/// \p version as the generator writes it.
std::string VersionText(const std::optional<Platform::FileVersion>& version)
{
    std::string text;
    for (const auto part : version.value_or(Platform::FileVersion{}))
    {
        text += (text.empty() ? "" : ".") + std::to_string(part);
    }
    return text;
}

std::string OwnVersion()
{
    return VersionText(Platform::ReadFileVersion(Platform::ExecutablePath()));
}

} // namespace

std::string ReportsOfFault()
{
    const auto point = std::make_unique<Crash::Sample::Point>();
    std::string text;
    Crash::Sample::Outer(*point,
                         [&]
                         {
                             Fault fault(*point);
                             text = Support::SaidOnStandardError([&] { Crash::FaultReports(&fault.pointers).Write(); });
                         });
    return text;
}

TEST_F(MiniDumpGeneratorTest, FolderIsChosenAmongTheProductsAndCreated)
{
    EXPECT_EQ(m_folder, m_data / "d\xC3\xA4ta/Orbex/CrashDumps");
    EXPECT_TRUE(Folders::is_directory(m_folder));
    EXPECT_EQ(m_announcement, "Selected dump directory: " + Utf8(m_folder) + "\n");

    // One that a product already has comes first, unless nothing can be created there.
    const auto former = m_folder.parent_path().parent_path() / "Pellan Orbex";
    Folders::create_directory(former);
    Folders::remove_all(m_folder.parent_path());
    CreateFolder();
    EXPECT_EQ(Folder(), former / "CrashDumps");
    Folders::remove_all(former);
    Support::WriteFile(former, "");
    Support::WriteFile(former.parent_path() / "Orbex", "");
    const auto createWithTemporaryFolder = [&]
    {
        const Support::ScopedTemporaryFolder temporary(m_data / "tmp");
        MiniDumpGenerator::CreateDumpDirectory();
    };
    Support::SaidOnStandardError(createWithTemporaryFolder);
    EXPECT_EQ(Folder(), m_data / "tmp/Orbex/CrashDumps");
    Folders::remove_all(m_data / "tmp");
    Support::WriteFile(m_data / "tmp", "");
    const ErrorText said(Support::SaidOnStandardError(createWithTemporaryFolder));
    EXPECT_EQ(said.text, "CreateDirectory failed. Error:  \nSelected dump directory: " +
                             Utf8(former.parent_path() / "Orbex" / "CrashDumps") + "\n");
    EXPECT_TRUE(said.IsFileInPath()) << said.error;
}

TEST_F(MiniDumpGeneratorTest, DumpsAreNamedAfterTheProgramAndTheMoment)
{
    EXPECT_EQ(MiniDumpGenerator::GetDefaultMinidumpType(), 0x1961);
    EXPECT_EQ(MiniDumpGenerator::GetApplicationName(), L"MiniDumpGeneratorTests");
    EXPECT_EQ(Conversion::String::ToUtf8(MiniDumpGenerator::GetApplicationPath()), Utf8(Platform::ExecutablePath()));
    EXPECT_EQ(Conversion::String::ToUtf8(MiniDumpGenerator::GetFullVersion()), OwnVersion());
    const auto now = []
    {
        const std::time_t seconds = std::time(nullptr);
        const std::tm local = *std::localtime(&seconds);
        return "MiniDumpGeneratorTests_" + OwnVersion() + "_[" + std::to_string(local.tm_mday) + "-" +
               std::to_string(local.tm_mon + 1) + "_" + std::to_string(local.tm_hour) + "-" +
               std::to_string(local.tm_min) + "-" + std::to_string(local.tm_sec) + "]";
    };
    std::string before, name;
    do // until the second does not change meanwhile
    {
        before = now();
        name = Conversion::String::ToUtf8(MiniDumpGenerator::GetTaggedDumpFileName());
    } while (before != now());
    EXPECT_EQ(name, before);
}

TEST_F(MiniDumpGeneratorTest, DumpOnRequestIsWholeNeverReplacesAndLeavesNothingPartial)
{
    EXPECT_EQ(Support::SaidOnStandardError(
                  []
                  {
                      MiniDumpGenerator::CreateMiniDump();
                      MiniDumpGenerator::CreateMiniDump(nullptr, MiniDumpGenerator::GetSmallSizeMinidumpType());
                  }),
              "");
    const auto names = Support::NamesIn(m_folder);
    ASSERT_EQ(names.size(), 2U);
    for (const auto& name : names)
    {
        EXPECT_TRUE(name.starts_with("MiniDumpGeneratorTests_" + OwnVersion() + "_[") && name.ends_with(".dmp"))
            << name;
        const auto dump = Support::ReadFile(m_folder / name);
        EXPECT_EQ(dump.substr(0, 4), "MDMP");
    }
    // The folder may go while the process runs.
    Folders::remove_all(m_folder);
    EXPECT_EQ(Support::SaidOnStandardError([] { MiniDumpGenerator::CreateMiniDump(); }), "");
    EXPECT_EQ(Support::NamesIn(m_folder).size(), 1U);
}

TEST_F(MiniDumpGeneratorTest, FailuresAreToldWithTheSystemsNumberAndLeaveNoFile)
{
    const auto create = [] { MiniDumpGenerator::CreateMiniDump(); };
    MiniDumpGenerator::SetFakeWriteDump(true);
    EXPECT_EQ(Support::SaidOnStandardError(create), "Minidump faked.\n");
    EXPECT_EQ(Support::SaidOnStandardError([] { MiniDumpGenerator::WriteMinidump(nullptr, nullptr, MiniDumpNormal); }),
              "Minidump faked.\n");
    EXPECT_TRUE(Support::NamesIn(m_folder).empty());
    MiniDumpGenerator::SetFakeWriteDump(false);

    Folders::remove(m_folder);
    Support::WriteFile(m_folder, ""); // no user can create a file in a file
    const ErrorText said(Support::SaidOnStandardError(create));
    EXPECT_EQ(said.text, "CreateFile failed. Error:  \n");
    EXPECT_TRUE(said.IsFileInPath()) << said.error;
    const ErrorText reports(ReportsOfFault());
    EXPECT_EQ(reports.text, "CreateFile failed. Error:  \nWriting report file ...\nError writing the crash log : " +
                                reports.error.message() + "\r\n");
    EXPECT_EQ(reports.error, said.error);
}

TEST_F(MiniDumpGeneratorTest, ReportsAreAPairAndTheFileHasTheTextOfTheNotification)
{
    const auto point = std::make_unique<Crash::Sample::Point>();
    const std::string program = Platform::ExecutablePath().filename().string();
    std::string report;
    Crash::Sample::Outer(
        *point,
        [&]
        {
            Crash::PrepareReports();
            Fault fault(*point);
            EXPECT_EQ(Crash::FaultReports(nullptr).Text(), "");
            Crash::FaultReports reports(&fault.pointers);
            report = reports.Text();
            const std::string progress = "Writing report file ...\nReport file created.\n";
            EXPECT_EQ(Support::SaidOnStandardError([&] { reports.Write(); }), progress);
            MiniDumpGenerator::SetFakeWriteDump(true);
            EXPECT_EQ(Support::SaidOnStandardError([&] { Crash::FaultReports(&fault.pointers).Write(); }),
                      "Minidump faked.\n" + progress);
            EXPECT_EQ(Support::SaidOnStandardError([] { Crash::FaultReports(nullptr).Write(); }), "Minidump faked.\n");
            std::string block;
            const auto printed = Support::SaidOnStandardError([&] { block = reports.Print(); });
            EXPECT_EQ(printed, block);
            EXPECT_NE(block.find("ERROR ------------ (EEE)\nError code (C0000095) : INT_OVERFLOW\n"), std::string::npos)
                << block;
            EXPECT_NE(block.find(program + " loaded at base address 0x"), std::string::npos) << block;
        });
    const auto names = Support::NamesIn(m_folder);
    ASSERT_EQ(names.size(), 3U) << testing::PrintToString(names);
    const auto dump = std::find_if(names.begin(), names.end(), [](const auto& name) { return name.ends_with(".dmp"); });
    ASSERT_NE(dump, names.end()) << testing::PrintToString(names);
    EXPECT_EQ(Support::ReadFile((m_folder / *dump).replace_extension(".txt")), report);
    EXPECT_NE(report.find("Revision: " + OwnVersion() + " \r\n"), std::string::npos) << report;
    EXPECT_NE(report.find("Faulting module: " + program + "\r\n  "), std::string::npos) << report;
    EXPECT_NE(report.find("StackSample.cpp line " + std::to_string(point->outerLine) + "\r\n"), std::string::npos)
        << report;
    const auto system = System::ReadSystemInformation(Platform::OwnProcessId());
    for (const auto& fact : {"Processor: " + system.processor + "\r\n",
                             "Number Of Processors: " + std::to_string(std::thread::hardware_concurrency()) + "\r\n",
                             "\r\n" + system.systemName + " " + system.systemVersion + "\r\n"})
    {
        EXPECT_GT(fact.size(), 20U);
        EXPECT_NE(report.find(fact), std::string::npos) << fact << report;
    }
}

TEST_F(MiniDumpGeneratorTest, NameIsReservedForBothFilesOfAFault)
{
    const auto name = [](const Crash::ReportStem& stem) { return Folders::path(stem.Path()).filename().string(); };
    const std::string folder = Utf8(m_folder);
    {
        Crash::ReportStem first, second;
        ASSERT_EQ(first.Reserve(folder.c_str(), "a.1"), 0);
        ASSERT_EQ(second.Reserve(folder.c_str(), "a.1"), 0);
        EXPECT_EQ(name(first), "a.1");
        EXPECT_EQ(name(second), "a.1_2");

        Crash::ReportFile abandoned, whole;
        ASSERT_EQ(abandoned.Create(second, ".txt"), 0);
        EXPECT_EQ(abandoned.Write("half"), 0);
        ASSERT_EQ(whole.Create(first, ".txt"), 0);
        EXPECT_EQ(whole.Write("whole"), 0);
        EXPECT_EQ(whole.Publish(), 0);
    }
    EXPECT_EQ(Support::NamesIn(m_folder), std::vector<std::string>{"a.1.txt"});
    EXPECT_EQ(Support::ReadFile(m_folder / "a.1.txt"), "whole");
    {
        // A name of which one file exists, or is being written, belongs to another fault.
        Support::WriteFile(m_folder / "a.1_2.dmp.part", "");
        Crash::ReportStem third;
        ASSERT_EQ(third.Reserve(folder.c_str(), "a.1"), 0);
        EXPECT_EQ(name(third), "a.1_3");
        Crash::ReportFile report;
        ASSERT_EQ(report.Create(third, ".txt"), 0);
        Support::WriteFile(m_folder / "a.1_3.txt", "made by hand");
        EXPECT_EQ(std::error_code(report.Publish(), Platform::SystemErrors()), std::errc::file_exists);
        EXPECT_EQ(Support::ReadFile(m_folder / "a.1_3.txt"), "made by hand");
    }
    EXPECT_EQ(Support::NamesIn(m_folder), (std::vector<std::string>{"a.1.txt", "a.1_2.dmp.part", "a.1_3.txt"}));
    for (const std::size_t length : {300U, 5000U})
    {
        Crash::ReportStem tooLong;
        EXPECT_NE(tooLong.Reserve(folder.c_str(), std::string(length, 'x').c_str()), 0);
        EXPECT_STREQ(tooLong.Path(), "");
    }
}

} // namespace Ardo::Kiln::Exception
