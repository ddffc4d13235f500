#include "Ardo/Kiln/Logger/LogFile_p.h"

#include "Ardo/Kiln/Platform/SharedAppendFile.h"
#include "Ardo/Kiln/Platform/SystemError.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <functional>
#include <sys/resource.h>

namespace Ardo::Kiln::Logger
{

namespace fs = std::filesystem;
using ::testing::EndsWith;
using ::testing::HasSubstr;

class LogFileTest : public testing::Test
{
protected:
    LogFileTest() { fs::create_directories(m_path.parent_path()); }

    std::string Read(const char* name = "X.log") const { return Support::ReadFile(m_path.parent_path() / name); }

    static void Write(LogFile& file, const std::string& record)
    {
        file.Append(record);
        file.Flush();
    }

    static void WriteAtOnce(LogFile& file, const std::string& record)
    {
        file.AppendAtOnce(record, std::chrono::system_clock::now());
    }

    /// What standard error gets while a hundred records meet a failure.
    static std::string Complaint(LogFile& file)
    {
        testing::internal::CaptureStderr();
        for (int number = 0; number < 50; ++number)
        {
            Write(file, "meanwhile\n");
            WriteAtOnce(file, "meanwhile\n");
        }
        return testing::internal::GetCapturedStderr();
    }

    /// One line, about this file, with this reason.
    testing::Matcher<std::string> IsOneLine(std::errc reason) const
    {
        return testing::AllOf(
            testing::StartsWith("Log file " + m_path.string() + " "),
            EndsWith(": " + Platform::SystemErrors().message(static_cast<int>(reason)) + "\n"),
            testing::ResultOf([](const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }, 1));
    }

    const Support::ScopedTempDir m_folder;
    const fs::path m_path = m_folder / "R/Log/X.log";
};

TEST_F(LogFileTest, RotatesBySizeBetweenRecordsAndKeepsTheGivenNumberOfFiles)
{
    for (const auto write : {Write, WriteAtOnce})
    {
        {
            LogFile file(m_path, 9, 3);
            for (const char* record :
                 {"one\n", "two\n", "3333\n", "four\n", "a long record\n", "5\n", "6\n", "7\n", "8\n", "9\n"})
            {
                write(file, record);
            }
        }
        EXPECT_EQ(Read("X.2.log"), "a long record\n");
        EXPECT_EQ(Read("X.1.log"), "5\n6\n7\n8\n");
        EXPECT_EQ(Read(), "9\n");
        EXPECT_FALSE(fs::exists(m_path.parent_path() / "X.3.log"));
        fs::remove_all(m_path.parent_path());
    }
    LogFile single(m_path, 5, 1);
    LogFile unlimited(m_folder / "R/Log/U.log", 0, 3);
    for (const char* record : {"1\n", "22\n", "333\n"})
    {
        Write(single, record);
        Write(unlimited, record);
    }
    EXPECT_EQ(Read(), "333\n");
    EXPECT_EQ(Read("U.log"), "1\n22\n333\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(m_path.parent_path()), {}), 2);
}

TEST_F(LogFileTest, GoesOnWithWhatIsThereAndNeverWithinALine)
{
    Support::WriteFile(m_path, "old\nof a process that di");
    LogFile file(m_path, 1000, 3);
    Write(file, "new\n");
    EXPECT_EQ(Read(), "old\nof a process that di\nnew\n");
    file.BeginNewFile();
    Write(file, "newer\n");
    EXPECT_EQ(Read("X.1.log"), "old\nof a process that di\nnew\n");
    EXPECT_EQ(Read(), "newer\n");
}

TEST_F(LogFileTest, AnObstacleCostsOneLineAndNotTheRecordsThatFitTheMemory)
{
    struct Row
    {
        std::errc reason;
        std::function<void()> begin, end;
    };
    const fs::path folder = m_path.parent_path();
    const auto removed = [&] { fs::remove_all(folder.parent_path()); };
    const auto remade = [&] { fs::create_directory(folder.parent_path()); };
    const auto cleared = [&] { fs::remove(m_path); };
    const auto full = [&] { fs::create_symlink("/dev/full", m_path); };
    const auto folderInTheWay = [&] { fs::create_directory(m_path); };
    for (const Row& row :
         {Row{std::errc::no_space_on_device, full, cleared}, Row{std::errc::no_such_file_or_directory, removed, remade},
          Row{std::errc::is_a_directory, folderInTheWay, cleared}})
    {
        LogFile file(m_path, 0, 3);
        fs::remove(m_path);
        row.begin();
        EXPECT_THAT(Complaint(file), IsOneLine(row.reason));
        for (int number = 0; number < 5000; ++number)
        {
            file.Append("many records, more than are kept\n");
        }
        row.end();
        WriteAtOnce(file, "back\n");
        EXPECT_TRUE(Read().starts_with("meanwhile\n") && Read().ends_with("\nback\n"));
        EXPECT_EQ(Read().size() / 1024, 63U) << "no more than the buffer holds";
        EXPECT_EQ(Complaint(file), "");
        fs::remove_all(folder);
        Write(file, "new folder\n");
        fs::remove(m_path);
        file.Flush();
        WriteAtOnce(file, "new file\n");
        EXPECT_EQ(Read(), "new file\n");
    }
}

TEST_F(LogFileTest, WhatADiskTakesOfARecordInPartIsTakenBack)
{
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit small{1005, limit.rlim_max};
    const auto append = [](LogFile& file, const std::string& record) { file.Append(record); };
    for (const auto& write : {+append, &WriteAtOnce})
    {
        LogFile file(m_path, 0, 3);
        testing::internal::CaptureStderr();
        ::setrlimit(RLIMIT_FSIZE, &small);
        for (int number = 0; number < 30; ++number)
        {
            write(file, std::string(99, 'x') + "\n");
        }
        file.Flush();
        ::setrlimit(RLIMIT_FSIZE, &limit);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), IsOneLine(std::errc::file_too_large));
        EXPECT_EQ(Read().size(), 1000U);
        file.Flush();
        EXPECT_EQ(Read().size(), 3000U);
        EXPECT_EQ(Read().find("\n\n"), std::string::npos);
        fs::remove(m_path);
    }
}

TEST_F(LogFileTest, WhatOthersHaveAppendedIsNeverTakenBack)
{
    Platform::SharedAppendFile ours;
    Platform::SharedAppendFile theirs;
    ASSERT_TRUE(!ours.Open(m_path) && !theirs.Open(m_path));
    std::size_t written = 0;
    ours.Append("whole\nfragm", written);
    ours.TakeBack(5);
    EXPECT_EQ(Read(), "whole\n");
    ours.Append("fragm", written);
    theirs.Append("ent\n", written);
    ours.TakeBack(5);
    EXPECT_EQ(Read(), "whole\nfragment\n");
    theirs.TakeBack(100); // more than there is
    EXPECT_EQ(Read(), "whole\nfragment\n");
}

TEST_F(LogFileTest, WhatCannotBeRotatedGrowsAndLosesNothing)
{
    struct Row
    {
        const char* complaint;
        std::function<void()> begin, end;
    };
    Platform::SharedAppendFile stopped; // of a process that keeps the lock
    const fs::path next[] = {m_folder / "R/Log/X.1.log", m_folder / "R/Log/X.2.log"};
    const auto block = [&] { fs::create_directories(next[0] / "in"), fs::create_directories(next[1] / "in"); };
    const auto unblock = [&] { fs::remove_all(next[0]), fs::remove_all(next[1]); };
    const auto lock = [&] { ASSERT_TRUE(!stopped.Open(m_path) && stopped.Lock(std::chrono::milliseconds(0))); };
    const auto unlock = [&] { stopped.Unlock(); };
    for (const Row& row : {Row{"cannot be rotated; it grows beyond its limit: ", block, unblock},
                           Row{"is locked by a process that does not answer; it grows", lock, unlock}})
    {
        LogFile file(m_path, 500, 3);
        row.begin();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_THAT(Complaint(file), HasSubstr(row.complaint));
        EXPECT_EQ(Complaint(file), "");
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20)) << "each record waited";
        EXPECT_EQ(Read().size(), 2 * 1000U);
        row.end();
        Write(file, "rotated\n");
        EXPECT_EQ(Read(), "rotated\n");
        fs::remove(m_path);
    }
}

} // namespace Ardo::Kiln::Logger
