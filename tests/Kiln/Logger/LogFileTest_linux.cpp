#include "tests/Kiln/Logger/LogFileTest.h"

#include <sys/resource.h>

namespace Ardo::Kiln::Logger
{

using LogFileLinuxTest = LogFileTest;

TEST_F(LogFileLinuxTest, AFullDiskCostsOneLineAndNotTheRecordsThatFitTheMemory)
{
    CheckObstacle({{std::errc::no_space_on_device},
                   [&] { fs::create_symlink("/dev/full", m_path); },
                   [&] { fs::remove(m_path); }});
}

TEST_F(LogFileLinuxTest, WhatADiskTakesOfARecordInPartIsTakenBack)
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
        EXPECT_THAT(testing::internal::GetCapturedStderr(), IsOneLine({std::errc::file_too_large}));
        EXPECT_EQ(Read().size(), 1000U);
        file.Flush();
        EXPECT_EQ(Read().size(), 3000U);
        EXPECT_EQ(Read().find("\n\n"), std::string::npos);
        fs::remove(m_path);
    }
}

} // namespace Ardo::Kiln::Logger
