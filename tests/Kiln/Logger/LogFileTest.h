#pragma once

#include "Ardo/Kiln/Logger/LogFile_p.h"
#include "Ardo/Kiln/Platform/SystemError.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <string>
#include <system_error>

#include <gmock/gmock.h>

namespace Ardo::Kiln::Logger
{

namespace fs = std::filesystem;

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

    /// One line, about this file, with the system's text for one of these reasons.
    testing::Matcher<std::string> IsOneLine(std::initializer_list<std::errc> reasons) const
    {
        const auto hasReason = [reasons = std::vector(reasons)](const std::string& text)
        {
            // The systems number their errors differently; a reason may have several numbers.
            constexpr int LastNumber = 300;
            for (int number = 1; number < LastNumber; ++number)
            {
                const std::error_code code(number, Platform::SystemErrors());
                if (text.ends_with(": " + code.message() + "\n") &&
                    std::ranges::any_of(reasons, [&](std::errc reason) { return code == reason; }))
                {
                    return true;
                }
            }
            return false;
        };
        return testing::AllOf(
            testing::StartsWith("Log file " + m_path.string() + " "), testing::ResultOf(hasReason, true),
            testing::ResultOf([](const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }, 1));
    }

    /// A cause that keeps records from a file, and how it comes and goes.
    struct Obstacle
    {
        std::initializer_list<std::errc> reasons;
        std::function<void()> begin, end;
    };

    /// An obstacle costs one line on standard error and not the records that fit the memory.
    void CheckObstacle(const Obstacle& row)
    {
        const fs::path folder = m_path.parent_path();
        LogFile file(m_path, 0, 3);
        file.BeginNewFile(); // closes it
        fs::remove(m_path);
        row.begin();
        EXPECT_THAT(Complaint(file), IsOneLine(row.reasons));
        for (int number = 0; number < 5000; ++number)
        {
            file.Append("many records, more than are kept\n");
        }
        row.end();
        WriteAtOnce(file, "back\n");
        EXPECT_TRUE(Read().starts_with("meanwhile\n") && Read().ends_with("\nback\n"));
        EXPECT_EQ(Read().size() / 1024, 63U) << "no more than the buffer holds";
        EXPECT_EQ(Complaint(file), "");
    }

    const Support::ScopedTempDir m_folder;
    const fs::path m_path = m_folder / "R/Log/X.log";
};

} // namespace Ardo::Kiln::Logger
