#include "Ardo/Kiln/Logger/LogFile_p.h"

#include "Ardo/Kiln/Platform/SharedAppendFile.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <csignal>
#include <sys/resource.h>
#include <thread>

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
            EndsWith(": " + std::make_error_code(reason).message() + "\n"),
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
    std::string kept;
    for (int number = 0; number < 100; ++number)
    {
        single.Append(std::to_string(number) + "\n");
        unlimited.Append(std::to_string(number) + "\n");
        kept += std::to_string(number) + "\n";
    }
    single.Flush();
    unlimited.Flush();
    EXPECT_EQ(Read(), "99\n");
    EXPECT_EQ(Read("U.log"), kept);
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

TEST_F(LogFileTest, WritersOfOneFileLoseNothingAtEachOthersRotations)
{
    // Two objects share the file like two processes do; each is used by two threads.
    constexpr int Records = 2000;
    {
        LogFile first(m_path, 8000, 9);
        LogFile second(m_path, 8000, 9);
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread)
        {
            threads.emplace_back(
                [&, thread]
                {
                    LogFile& file = thread < 2 ? first : second;
                    for (int number = 0; number < Records; ++number)
                    {
                        const auto record = std::to_string(thread) + " " + std::to_string(number) + "\n";
                        thread % 2 == 0 ? WriteAtOnce(file, record) : file.Append(record);
                    }
                });
        }
        for (std::thread& thread : threads)
        {
            thread.join();
        }
    }
    std::vector<int> next(4);
    for (const char* name :
         {"X.8.log", "X.7.log", "X.6.log", "X.5.log", "X.4.log", "X.3.log", "X.2.log", "X.1.log", "X.log"})
    {
        std::istringstream lines(Read(name));
        for (int thread = 0, number = 0; lines >> thread >> number;)
        {
            ASSERT_EQ(number, next.at(static_cast<std::size_t>(thread))++) << name;
        }
        EXPECT_TRUE(lines.eof());
    }
    EXPECT_THAT(next, testing::Each(Records));
    EXPECT_TRUE(fs::exists(m_path.parent_path() / "X.3.log")) << "no rotation, nothing tested";
}

TEST_F(LogFileTest, AFullDiskCostsOneLineAndNotTheRecordsThatStillFitTheMemory)
{
    fs::create_symlink("/dev/full", m_path);
    LogFile file(m_path, 0, 3);
    EXPECT_THAT(Complaint(file), IsOneLine(std::errc::no_space_on_device));
    testing::internal::CaptureStderr();
    for (int number = 0; number < 5000; ++number)
    {
        file.Append("many records, more than are kept\n");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    fs::remove(m_path);
    Write(file, "again\n");
    EXPECT_TRUE(Read().starts_with("meanwhile\n") && Read().ends_with("\nagain\n"));
    EXPECT_EQ(Read().size() / 1024, 63U) << "no more than the buffer holds";
    EXPECT_EQ(Complaint(file), "");
}

TEST_F(LogFileTest, WhatADiskTakesOfARecordInPartIsTakenBack)
{
    LogFile file(m_path, 0, 3);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit small{1005, limit.rlim_max};
    for (int number = 0; number < 30; ++number)
    {
        file.Append(std::string(99, 'x') + "\n");
    }
    testing::internal::CaptureStderr();
    ::setrlimit(RLIMIT_FSIZE, &small);
    file.Flush();
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), IsOneLine(std::errc::file_too_large));
    EXPECT_EQ(Read().size(), 1000U);
    file.Flush();
    EXPECT_EQ(Read().size(), 3000U);
}

TEST_F(LogFileTest, ADeletedFileOrFolderIsMadeAgain)
{
    LogFile file(m_path, 2000, 3);
    fs::remove_all(m_path.parent_path());
    Write(file, "new folder\n");
    EXPECT_EQ(Read(), "new folder\n");
    fs::remove(m_path);
    file.Flush();
    WriteAtOnce(file, "new file\n");
    EXPECT_EQ(Read(), "new file\n");

    fs::remove_all(m_folder / "R");
    EXPECT_THAT(Complaint(file), IsOneLine(std::errc::no_such_file_or_directory));
    fs::create_directory(m_folder / "R");
    WriteAtOnce(file, "back\n");
    EXPECT_THAT(Read(), EndsWith("meanwhile\nback\n"));
}

TEST_F(LogFileTest, AFolderInTheWayIsToldOnceAndOvercome)
{
    LogFile file(m_path, 2000, 3);
    fs::remove(m_path);
    fs::create_directory(m_path);
    EXPECT_THAT(Complaint(file), IsOneLine(std::errc::is_a_directory));
    fs::remove(m_path);
    Write(file, "back\n");
    EXPECT_THAT(Read(), EndsWith("meanwhile\nback\n"));

    // Without the next name the file grows: better too long than lost.
    for (const char* name : {"R/Log/X.1.log/inside", "R/Log/X.2.log/inside"})
    {
        fs::create_directories(m_folder / name);
    }
    EXPECT_THAT(Complaint(file) + Complaint(file), HasSubstr("cannot be rotated; it grows beyond its limit: "));
    EXPECT_EQ(Complaint(file), "");
    EXPECT_EQ(Read().size(), 1000 + 5 + 3 * 1000U);
    fs::remove_all(m_folder / "R/Log/X.1.log");
    fs::remove_all(m_folder / "R/Log/X.2.log");
    Write(file, "first\n");
    EXPECT_EQ(Read(), "first\n");
}

TEST_F(LogFileTest, AProcessThatKeepsTheLockDelaysItsNeighboursOnceAndLosesThemNothing)
{
    LogFile file(m_path, 1000, 3);
    Platform::SharedAppendFile stopped;
    ASSERT_FALSE(stopped.Open(m_path));
    ASSERT_TRUE(stopped.Lock(std::chrono::milliseconds(0)));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THAT(Complaint(file), HasSubstr("is locked by a process that does not answer"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20)) << "each record waited";
    EXPECT_EQ(Read().size(), 1000U);
    stopped.Unlock();
    Write(file, "rotated\n");
    EXPECT_EQ(Read(), "rotated\n");
}

} // namespace Ardo::Kiln::Logger
