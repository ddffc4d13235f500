#include "tests/Kiln/Logger/LogFileTest.h"

#include "Ardo/Kiln/Platform/SharedAppendFile.h"

#include <future>
#include <thread>

namespace Ardo::Kiln::Logger
{

using ::testing::HasSubstr;

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
    const fs::path folder = m_path.parent_path();
    CheckObstacle({{std::errc::no_such_file_or_directory},
                   [&] { fs::remove_all(folder.parent_path()); },
                   [&] { fs::create_directory(folder.parent_path()); }});
    fs::remove_all(folder);
    fs::create_directory(folder);
    CheckObstacle({{std::errc::is_a_directory, std::errc::permission_denied}, // by the system
                   [&] { fs::create_directory(m_path); },
                   [&] { fs::remove(m_path); }});

    LogFile file(m_path, 0, 3);
    file.BeginNewFile(); // closes it: Windows keeps a folder with an open file
    fs::remove_all(folder);
    Write(file, "new folder\n");
    EXPECT_EQ(Read(), "new folder\n");
}

TEST_F(LogFileTest, ARemovedFileIsMadeAgain)
{
    LogFile file(m_path, 0, 3);
    Write(file, "old file\n");
    fs::remove(m_path);
    file.Flush();
    WriteAtOnce(file, "new file\n");
    EXPECT_EQ(Read(), "new file\n");
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
    // On another thread, because the lock of some systems belongs to its thread.
    std::promise<void> isLocked;
    std::promise<void> mayGo;
    std::jthread holder;
    const auto lock = [&]
    {
        holder = std::jthread(
            [&]
            {
                EXPECT_TRUE(!stopped.Open(m_path) && stopped.Lock(std::chrono::seconds(10)));
                isLocked.set_value();
                mayGo.get_future().wait();
                stopped.Unlock();
            });
        isLocked.get_future().wait();
    };
    const auto unlock = [&]
    {
        mayGo.set_value();
        holder.join();
    };
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
