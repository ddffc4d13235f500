#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/Report/ReportFile.h"
#include "Ardo/Kiln/Crash/Writer/FaultReports.h"
#include "Ardo/Kiln/System/SystemInformation.h"

#include "tests/Kiln/Crash/StackSample.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/ScopedVariable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ardo::Kiln::Exception
{

namespace
{

namespace Folders = std::filesystem;

/// What \p work writes to the standard error stream.
template <class Work>
std::string ErrorTextOf(Work work)
{
    testing::internal::CaptureStderr();
    work();
    return testing::internal::GetCapturedStderr();
}

std::vector<std::string> NamesIn(const Folders::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : Folders::directory_iterator(folder))
    {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// Each test writes below a folder of its own.
class MiniDumpGeneratorTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_announcement = ErrorTextOf([] { MiniDumpGenerator::CreateDumpDirectory(); });
        m_folder = Folder();
    }
    static Folders::path Folder() { return Conversion::String::ToUtf8(MiniDumpGenerator::GetDumpDirectory()); }
    void TearDown() override
    {
        MiniDumpGenerator::SetFakeWriteDump(false);
        MiniDumpGenerator::SetDefaultMinidumpType(static_cast<MINIDUMP_TYPE>(0x1961));
    }

    const Support::ScopedTempDir m_data;
    const Support::ScopedVariable m_variable{"XDG_DATA_HOME", (m_data / "d\xC3\xA4ta").string()};
    std::string m_announcement;
    Folders::path m_folder;
};

/// A fault of the calling thread at \p point, as a filter would see it.
struct Fault
{
    explicit Fault(Crash::Sample::Point& point) : pointers{&record, &point.request.context}
    {
        record.ExceptionCode = Crash::FaultCode::IntOverflow;
        record.ExceptionAddress = reinterpret_cast<void*>(point.request.context.Rip);
    }

    EXCEPTION_RECORD record = {};
    EXCEPTION_POINTERS pointers;
};

} // namespace

TEST_F(MiniDumpGeneratorTest, FolderIsChosenAmongTheProductsAndCreated)
{
    EXPECT_EQ(m_folder, m_data / "d\xC3\xA4ta/Orbex/CrashDumps");
    EXPECT_TRUE(Folders::is_directory(m_folder));
    EXPECT_EQ(m_announcement, "Selected dump directory: " + m_folder.string() + "\n");

    // One that a product already has comes first, unless nothing can be created there.
    const auto former = m_folder.parent_path().parent_path() / "Pellan Orbex";
    Folders::create_directory(former);
    Folders::remove_all(m_folder.parent_path());
    ErrorTextOf([] { MiniDumpGenerator::CreateDumpDirectory(); });
    EXPECT_EQ(Folder(), former / "CrashDumps");
    Folders::remove_all(former);
    Support::WriteFile(former, "");
    const Support::ScopedVariable temporary("TMPDIR", (m_data / "tmp").string());
    Support::WriteFile(former.parent_path() / "Orbex", "");
    ErrorTextOf([] { MiniDumpGenerator::CreateDumpDirectory(); });
    EXPECT_EQ(Folder(), m_data / "tmp/Orbex/CrashDumps");
    Folders::remove_all(m_data / "tmp");
    Support::WriteFile(m_data / "tmp", "");
    EXPECT_EQ(ErrorTextOf([] { MiniDumpGenerator::CreateDumpDirectory(); }),
              "CreateDirectory failed. Error: " + std::to_string(ENOTDIR) +
                  " \nSelected dump directory: " + (former.parent_path() / "Orbex/CrashDumps").string() + "\n");
}

TEST_F(MiniDumpGeneratorTest, DefaultTypeIsTheOneLastSet)
{
    EXPECT_EQ(MiniDumpGenerator::GetDefaultMinidumpType(), 0x1961);
    MiniDumpGenerator::SetDefaultMinidumpType(MiniDumpNormal);
    EXPECT_EQ(MiniDumpGenerator::GetDefaultMinidumpType(), MiniDumpNormal);
}

TEST_F(MiniDumpGeneratorTest, DumpsAreNamedAfterTheProgramAndTheMoment)
{
    EXPECT_EQ(MiniDumpGenerator::GetApplicationName(), L"MiniDumpGeneratorTests");
    EXPECT_EQ(Conversion::String::ToUtf8(MiniDumpGenerator::GetApplicationPath()),
              Folders::read_symlink("/proc/self/exe").string());
    EXPECT_EQ(MiniDumpGenerator::GetFullVersion(), L"0.0.0.0");
    const auto now = []
    {
        const std::time_t seconds = std::time(nullptr);
        std::tm local = {};
        ::localtime_r(&seconds, &local);
        return "MiniDumpGeneratorTests_0.0.0.0_[" + std::to_string(local.tm_mday) + "-" +
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
    EXPECT_EQ(ErrorTextOf(
                  []
                  {
                      MiniDumpGenerator::CreateMiniDump();
                      MiniDumpGenerator::CreateMiniDump();
                      MiniDumpGenerator::CreateMiniDump(nullptr, MiniDumpGenerator::GetSmallSizeMinidumpType());
                  }),
              "");
    const auto names = NamesIn(m_folder);
    ASSERT_EQ(names.size(), 3U);
    for (const auto& name : names)
    {
        EXPECT_TRUE(name.starts_with("MiniDumpGeneratorTests_0.0.0.0_[") && name.ends_with(".dmp")) << name;
        const auto dump = Support::ReadFile(m_folder / name);
        EXPECT_EQ(dump.substr(0, 4), "MDMP");
        struct stat status = {};
        EXPECT_EQ(::stat((m_folder / name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U);
    }
    // The folder may go while the process runs.
    Folders::remove_all(m_folder);
    EXPECT_EQ(ErrorTextOf([] { MiniDumpGenerator::CreateMiniDump(); }), "");
    EXPECT_EQ(NamesIn(m_folder).size(), 1U);
}

TEST_F(MiniDumpGeneratorTest, FailuresAreToldWithTheSystemsNumberAndLeaveNoFile)
{
    MiniDumpGenerator::SetFakeWriteDump(true);
    EXPECT_EQ(ErrorTextOf([] { MiniDumpGenerator::CreateMiniDump(); }), "Minidump faked.\n");
    EXPECT_EQ(ErrorTextOf([] { MiniDumpGenerator::WriteMinidump(nullptr, nullptr, MiniDumpNormal); }),
              "Minidump faked.\n");
    EXPECT_TRUE(NamesIn(m_folder).empty());
    MiniDumpGenerator::SetFakeWriteDump(false);

    EXPECT_EQ(ErrorTextOf(
                  [&]
                  {
                      MiniDumpGenerator::WriteMinidump(reinterpret_cast<void*>(std::intptr_t{1'000'000}), nullptr,
                                                       MiniDumpGenerator::GetSmallSizeMinidumpType());
                  }),
              "MiniDumpWriteDump failed. Error: " + std::to_string(EBADF) + " \n");

    Folders::remove(m_folder);
    Support::WriteFile(m_folder, ""); // not even root can create a file in a file
    EXPECT_EQ(ErrorTextOf([] { MiniDumpGenerator::CreateMiniDump(); }),
              "CreateFile failed. Error: " + std::to_string(ENOTDIR) + " \n");
    const auto reports = []
    {
        const auto point = std::make_unique<Crash::Sample::Point>();
        std::string text;
        Crash::Sample::Outer(*point,
                             [&]
                             {
                                 Fault fault(*point);
                                 text = ErrorTextOf([&] { Crash::FaultReports(&fault.pointers).Write(); });
                             });
        return text;
    };
    EXPECT_EQ(reports(), "CreateFile failed. Error: " + std::to_string(ENOTDIR) +
                             " \nWriting report file ...\nError writing the crash log : Not a directory\r\n");

    // As on a full disk: no file can become as large as the report.
    Folders::remove(m_folder);
    Folders::create_directory(m_folder);
    rlimit former = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &former), 0);
    const rlimit small = {512, former.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const auto text = reports();
    ::setrlimit(RLIMIT_FSIZE, &former);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(text, "MiniDumpWriteDump failed. Error: " + std::to_string(EFBIG) +
                        " \nWriting report file ...\nError writing the crash log : File too large\r\n");
    EXPECT_TRUE(NamesIn(m_folder).empty()) << testing::PrintToString(NamesIn(m_folder));
}

TEST_F(MiniDumpGeneratorTest, ReportsAreAPairAndTheFileHasTheTextOfTheNotification)
{
    const auto point = std::make_unique<Crash::Sample::Point>();
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
            EXPECT_EQ(ErrorTextOf([&] { reports.Write(); }), progress);
            MiniDumpGenerator::SetFakeWriteDump(true);
            EXPECT_EQ(ErrorTextOf([&] { Crash::FaultReports(&fault.pointers).Write(); }),
                      "Minidump faked.\n" + progress);
            EXPECT_EQ(ErrorTextOf([] { Crash::FaultReports(nullptr).Write(); }), "Minidump faked.\n");
            std::string block;
            const auto printed = ErrorTextOf([&] { block = reports.Print(); });
            EXPECT_EQ(printed, block);
            EXPECT_NE(block.find("ERROR ------------ (EEE)\nError code (C0000095) : INT_OVERFLOW\n"), std::string::npos)
                << block;
            EXPECT_NE(block.find("/MiniDumpGeneratorTests loaded at base address 0x"), std::string::npos) << block;
        });
    const auto names = NamesIn(m_folder);
    ASSERT_EQ(names.size(), 3U) << testing::PrintToString(names);
    EXPECT_EQ(Folders::path(names[0]).replace_extension(".txt"), names[1]);
    EXPECT_EQ(Support::ReadFile(m_folder / names[1]), report);
    EXPECT_NE(report.find("Revision: 0.0.0.0 \r\n"), std::string::npos) << report;
    EXPECT_NE(report.find("Faulting module: MiniDumpGeneratorTests\r\n  [inlined] Place at "), std::string::npos)
        << report;
    EXPECT_NE(report.find("StackSample.cpp line " + std::to_string(point->outerLine) + "\r\n"), std::string::npos)
        << report;
    const auto system = System::ReadSystemInformation(static_cast<std::uint32_t>(::getpid()));
    for (const auto& fact : {"Processor: " + system.processor + "\r\n",
                             "Number Of Processors: " + std::to_string(::sysconf(_SC_NPROCESSORS_ONLN)) + "\r\n",
                             "\r\n" + system.systemName + " " + system.systemVersion + "\r\n"})
    {
        EXPECT_GT(fact.size(), 20U);
        EXPECT_NE(report.find(fact), std::string::npos) << fact << report;
    }
    EXPECT_GT(system.physicalMemory, system.processMemory);
    EXPECT_GE(system.peakProcessMemory, system.processMemory);
    EXPECT_GT(system.processMemory, 1U << 20U);
}

TEST_F(MiniDumpGeneratorTest, NameIsReservedForBothFilesOfAFault)
{
    const auto name = [](const Crash::ReportStem& stem) { return Folders::path(stem.Path()).filename().string(); };
    {
        Crash::ReportStem first, second;
        ASSERT_EQ(first.Reserve(m_folder.c_str(), "a.1"), 0);
        ASSERT_EQ(second.Reserve(m_folder.c_str(), "a.1"), 0);
        EXPECT_EQ(name(first), "a.1");
        EXPECT_EQ(name(second), "a.1_2");

        Crash::ReportFile abandoned, whole;
        ASSERT_EQ(abandoned.Create(second, ".txt"), 0);
        EXPECT_EQ(abandoned.Write("half"), 0);
        ASSERT_EQ(whole.Create(first, ".txt"), 0);
        EXPECT_EQ(whole.Write("whole"), 0);
        EXPECT_EQ(whole.Publish(), 0);
    }
    EXPECT_EQ(NamesIn(m_folder), std::vector<std::string>{"a.1.txt"});
    EXPECT_EQ(Support::ReadFile(m_folder / "a.1.txt"), "whole");
    {
        // A name of which one file exists, or is being written, belongs to another fault.
        Support::WriteFile(m_folder / "a.1_2.dmp.part", "");
        Crash::ReportStem third;
        ASSERT_EQ(third.Reserve(m_folder.c_str(), "a.1"), 0);
        EXPECT_EQ(name(third), "a.1_3");
        Crash::ReportFile report;
        ASSERT_EQ(report.Create(third, ".txt"), 0);
        Support::WriteFile(m_folder / "a.1_3.txt", "made by hand");
        EXPECT_EQ(report.Publish(), EEXIST);
        EXPECT_EQ(Support::ReadFile(m_folder / "a.1_3.txt"), "made by hand");
    }
    EXPECT_EQ(NamesIn(m_folder), (std::vector<std::string>{"a.1.txt", "a.1_2.dmp.part", "a.1_3.txt"}));
    for (const std::size_t length : {300U, 5000U})
    {
        Crash::ReportStem tooLong;
        EXPECT_EQ(tooLong.Reserve(m_folder.c_str(), std::string(length, 'x').c_str()), ENAMETOOLONG);
    }
}

TEST_F(MiniDumpGeneratorTest, DumpsGoNowhereThatAnotherUserDecides)
{
    if (::geteuid() != 0)
    {
        GTEST_SKIP() << "only root can make folders of other users";
    }
    constexpr uid_t Other = 12345;
    const auto foreign = m_data / "foreign";
    Folders::create_directories(foreign / "CrashDumps");
    ASSERT_EQ(::chown((foreign / "CrashDumps").c_str(), Other, Other), 0);
    Folders::create_directories(m_data / "own");
    Folders::create_directory_symlink(m_data / "own", m_data / "link");
    ASSERT_EQ(::lchown((m_data / "link").c_str(), Other, Other), 0);
    Folders::create_directory_symlink(m_data / "own", m_data / "ownLink");
    for (const auto& [folder, error] :
         {std::pair{foreign / "CrashDumps", EACCES}, std::pair{m_data / "link/CrashDumps", EACCES},
          std::pair{m_data / "ownLink/CrashDumps", 0}})
    {
        Crash::ReportStem stem;
        EXPECT_EQ(stem.Reserve(folder.c_str(), "a"), error) << folder;
    }
    EXPECT_TRUE(NamesIn(foreign / "CrashDumps").empty());

    // A folder that exists among the files for temporary use does not win over the one at home that is still to be
    // made.
    const Support::ScopedVariable temporary("TMPDIR", (m_data / "tmp").string());
    Folders::create_directories(m_data / "tmp/Orbex/CrashDumps");
    Folders::remove_all(m_folder.parent_path());
    ErrorTextOf([] { MiniDumpGenerator::CreateDumpDirectory(); });
    EXPECT_EQ(Folder(), m_folder);
}

TEST_F(MiniDumpGeneratorTest, DescriptorsInReserveServeWhenAllOthersAreUsedUp)
{
    Crash::ReportFile::ReserveDescriptors();
    rlimit former = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &former), 0);
    const rlimit few = {64, former.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    std::vector<int> all;
    for (int descriptor = ::dup(0); descriptor != -1; descriptor = ::dup(0))
    {
        all.push_back(descriptor);
    }
    Crash::ReportStem stem, none;
    Crash::ReportFile last;
    EXPECT_EQ(stem.Reserve(m_folder.c_str(), "last"), 0);
    EXPECT_EQ(last.Create(stem, ".txt"), 0);
    EXPECT_EQ(none.Reserve(m_folder.c_str(), "none"), EMFILE);
    EXPECT_EQ(last.Publish(), 0);
    for (const int descriptor : all)
    {
        ::close(descriptor);
    }
    ::setrlimit(RLIMIT_NOFILE, &former);
    EXPECT_TRUE(Folders::exists(m_folder / "last.txt"));
}

} // namespace Ardo::Kiln::Exception
