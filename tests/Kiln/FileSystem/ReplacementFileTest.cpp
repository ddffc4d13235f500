#include "Ardo/Kiln/FileSystem/ReplacementFile.h"

#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace Ardo::Kiln::FileSystem
{

namespace fs = std::filesystem;

namespace
{

void Write(const fs::path& path, const std::string& text)
{
    std::ofstream(path) << text;
}

std::string Read(const fs::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::ptrdiff_t EntriesOf(const fs::path& folder)
{
    return std::distance(fs::directory_iterator(folder), {});
}

} // namespace

TEST(ReplacementFileTest, TheTargetKeepsItsOldTextUntilCommit)
{
    const Support::ScopedTempDir folder;
    const fs::path target = folder / "名前 ü.txt";
    Write(target, "old");
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
    {
        ReplacementFile file(target);
        Write(file.Path(), "new");
        EXPECT_EQ(Read(target), "old");
        file.Commit();
    }
    EXPECT_EQ(Read(target), "new");
    EXPECT_EQ(fs::status(target).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(EntriesOf(folder.Path()), 1);
}

TEST(ReplacementFileTest, WithoutCommitNothingStays)
{
    const Support::ScopedTempDir folder;
    {
        const ReplacementFile file(folder / "image.tif");
        Write(file.Path(), "half");
    }
    EXPECT_EQ(EntriesOf(folder.Path()), 0);
}

TEST(ReplacementFileTest, ALinkStaysALinkAndItsFileIsReplaced)
{
    const Support::ScopedTempDir folder;
    fs::create_directory(folder / "real");
    Write(folder / "real/file", "old");
    fs::create_symlink("real/file", folder / "link");

    ReplacementFile file(folder / "link");
    Write(file.Path(), "new");
    file.Commit();

    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(Read(folder / "real/file"), "new");
}

TEST(ReplacementFileTest, ATargetThatCannotBeReplacedIsRefusedAtOnce)
{
    const Support::ScopedTempDir folder;
    fs::create_directory(folder / "folder");
    Write(folder / "read-only", "old");
    fs::permissions(folder / "read-only", fs::perms::owner_read);

    for (const fs::path& target :
         {folder / "folder", folder / "read-only", folder / "missing/file", fs::path("/dev/null")})
    {
        EXPECT_THROW(ReplacementFile{target}, fs::filesystem_error) << target;
    }
    EXPECT_EQ(EntriesOf(folder.Path()), 2);
}

TEST(ReplacementFileTest, AFailedCommitLeavesTheTargetAndNoPartFile)
{
    const Support::ScopedTempDir folder;
    {
        ReplacementFile file(folder / "target");
        fs::create_directory(folder / "target"); // comes into the way after the check
        Write(folder / "target/inside", "kept");
        EXPECT_THROW(file.Commit(), fs::filesystem_error);
    }
    EXPECT_EQ(Read(folder / "target/inside"), "kept");
    EXPECT_EQ(EntriesOf(folder.Path()), 1);
}

} // namespace Ardo::Kiln::FileSystem
