#include "tests/Kiln/Exception/MiniDumpGeneratorTest.h"

#include "Ardo/Kiln/Crash/Report/ReportFile.h"
#include "tests/Support/Process.h"

#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ardo::Kiln::Exception
{

namespace Folders = std::filesystem;

TEST_F(MiniDumpGeneratorTest, FilesBelongToTheUserAloneAndFailuresHaveTheirNumbers)
{
    EXPECT_EQ(Support::SaidOnStandardError([] { MiniDumpGenerator::CreateMiniDump(); }), "");
    const auto names = Support::NamesIn(m_folder);
    ASSERT_EQ(names.size(), 1U);
    struct stat status = {};
    EXPECT_EQ(::stat((m_folder / names.front()).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    Folders::remove_all(m_folder);

    const auto write = []
    {
        MiniDumpGenerator::WriteMinidump(reinterpret_cast<void*>(std::intptr_t{1'000'000}), nullptr,
                                         MiniDumpGenerator::GetSmallSizeMinidumpType());
    };
    EXPECT_EQ(Support::SaidOnStandardError(write), "MiniDumpWriteDump failed. Error: " + std::to_string(EBADF) + " \n");

    // As on a full disk: no file can become as large as the report.
    Folders::create_directory(m_folder);
    rlimit former = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &former), 0);
    const rlimit small = {512, former.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const auto text = ReportsOfFault();
    ::setrlimit(RLIMIT_FSIZE, &former);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(text, "MiniDumpWriteDump failed. Error: " + std::to_string(EFBIG) +
                        " \nWriting report file ...\nError writing the crash log : File too large\r\n");
    EXPECT_TRUE(Support::NamesIn(m_folder).empty()) << testing::PrintToString(Support::NamesIn(m_folder));
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
    EXPECT_TRUE(Support::NamesIn(foreign / "CrashDumps").empty());

    // A folder that exists among the files for temporary use does not win over the one at home that is still to be
    // made.
    const Support::ScopedTemporaryFolder temporary(m_data / "tmp");
    Folders::create_directories(m_data / "tmp/Orbex/CrashDumps");
    Folders::remove_all(m_folder.parent_path());
    CreateFolder();
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
