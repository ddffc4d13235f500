#include "Ardo/Kiln/FileSystem/TextFile.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace Ardo::Kiln::FileSystem
{

namespace fs = std::filesystem;

TEST(TextFileLinuxTest, ReadsRegularFilesOfAnyName)
{
    const auto read = [](const fs::path& path, const TextReading& reading = {})
    {
        try
        {
            return ReadTextFile(path, reading).text;
        }
        catch (const fs::filesystem_error& error)
        {
            return std::to_string(error.code().value()) + " " + error.what();
        }
    };
    const auto fails = [](std::errc code) { return testing::StartsWith(std::to_string(static_cast<int>(code)) + " "); };
    const Support::ScopedTempDir folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_THAT(read(folder / "pipe"), fails(std::errc::invalid_argument));
    EXPECT_THAT(read("/dev/zero"), fails(std::errc::invalid_argument));
    EXPECT_THAT(read(folder / "not\xFFvalid"), fails(std::errc::no_such_file_or_directory));
    EXPECT_THAT(read(folder / "not\xFFvalid"), testing::HasSubstr("not\xEF\xBF\xBDvalid"));
    // A file that says that it is empty and is not.
    EXPECT_THAT(read("/proc/self/status"), testing::HasSubstr("Name:"));
    EXPECT_THAT(read("/proc/self/status", {{}, LineEnd::Keep, 10}), fails(std::errc::file_too_large));
}

} // namespace Ardo::Kiln::FileSystem
