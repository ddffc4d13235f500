#include "Ardo/Kiln/Platform/PartialFile.h"

#include "tests/Support/FailingSystemCall.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace Ardo::Kiln::Platform
{

namespace fs = std::filesystem;

namespace
{

using Rights = PartialFile::Rights;
using Support::ModeOf;
using Support::NamesIn;
using Support::ReadFile;
using Support::WriteFile;

constexpr Support::FailingSystemCall NoLinks{SYS_linkat, 0, 0, 0, EPERM};
constexpr Support::FailingSystemCall NoFlush{SYS_fsync, 0, 0, 0, EIO};

void CheckLife(bool hasName)
{
    const Support::ScopedTempDir folder;
    const mode_t before = ::umask(002);
    for (const auto& [rights, mode] : {std::pair(Rights::Owner, 0600U), {Rights::NewFile, 0664U}})
    {
        PartialFile file;
        EXPECT_EQ(file.Path(), fs::path());
        ASSERT_FALSE(file.Create(folder.Path(), rights));
        EXPECT_EQ(ModeOf(file.Path()), mode);
        EXPECT_EQ(NamesIn(folder.Path()).size(), hasName ? 1U : 0U);
        WriteFile(file.Path(), "new");
        // A folder of that name is in the way: nothing is lost, and the next attempt succeeds.
        fs::create_directory(folder / "file");
        EXPECT_EQ(file.MoveTo(folder / "file").value(), EISDIR);
        fs::remove(folder / "file");
        EXPECT_EQ(ReadFile(file.Path()), "new");
        ASSERT_FALSE(file.MoveTo(folder / "file"));
        EXPECT_EQ(file.Path(), fs::path());
        EXPECT_EQ(ReadFile(folder / "file"), "new");
        EXPECT_EQ(ModeOf(folder / "file"), mode);
        EXPECT_EQ(NamesIn(folder.Path()), std::vector<std::string>{"file"});
        fs::remove(folder / "file");
    }
    ::umask(before);
    {
        PartialFile file;
        ASSERT_FALSE(file.Create(folder.Path(), Rights::Owner));
    }
    EXPECT_EQ(NamesIn(folder.Path()), std::vector<std::string>{});
}

} // namespace

TEST(PlatformTemporaryFileTest, LivesWithOrWithoutAName)
{
    CheckLife(false);
    Support::RunWithFailing(Support::NoFilesWithoutName, [] { CheckLife(true); });
}

TEST(PlatformTemporaryFileTest, WhereLinksAreForbiddenItIsCopied)
{
    const Support::ScopedTempDir folder;
    const std::string large(3 << 20, 'x');
    WriteFile(folder / "old", "old");
    fs::permissions(folder / "old", fs::perms(0640));
    Support::RunWithFailing(NoLinks,
                            [&]
                            {
                                for (const char* name : {"old", "new"})
                                {
                                    PartialFile file;
                                    ASSERT_FALSE(file.Create(folder.Path(), Rights::NewFile));
                                    WriteFile(file.Path(), large);
                                    ASSERT_FALSE(file.MoveTo(folder / name));
                                    EXPECT_EQ(ReadFile(folder / name), large);
                                }
                            });
    EXPECT_EQ(NamesIn(folder.Path()), (std::vector<std::string>{"new", "old"}));
    EXPECT_EQ(ModeOf(folder / "old"), 0640U);
}

TEST(PlatformTemporaryFileTest, WhatCannotBeFlushedReplacesNothing)
{
    const Support::ScopedTempDir folder;
    WriteFile(folder / "file", "old");
    {
        PartialFile file;
        ASSERT_FALSE(file.Create(folder.Path(), Rights::Owner));
        WriteFile(file.Path(), "new");
        Support::RunWithFailing(NoFlush, [&] { EXPECT_EQ(file.MoveTo(folder / "file").value(), EIO); });
        EXPECT_EQ(ReadFile(folder / "file"), "old");
        EXPECT_EQ(ReadFile(file.Path()), "new");
    }
    EXPECT_EQ(NamesIn(folder.Path()), std::vector<std::string>{"file"});
}

TEST(PlatformTemporaryFileTest, AFolderThatTakesNoFileIsReported)
{
    const Support::ScopedTempDir folder;
    WriteFile(folder / "file", "");
    for (const auto& [path, error] :
         {std::pair(folder / "missing", ENOENT), {folder / "file", ENOTDIR}, {"/proc", ENOENT}})
    {
        PartialFile file;
        EXPECT_EQ(file.Create(path, Rights::Owner).value(), error) << path;
        EXPECT_EQ(file.Path(), fs::path());
    }
}

TEST(PlatformTemporaryFileTest, NamesAreRandom)
{
    std::set<fs::path> names;
    for (int i = 0; i < 1000; ++i)
    {
        const fs::path name = PartialFile::RandomName();
        EXPECT_THAT(name.native(), testing::MatchesRegex("\\.[0-9a-f]{16}\\.part"));
        EXPECT_TRUE(names.insert(name).second);
    }
}

} // namespace Ardo::Kiln::Platform
