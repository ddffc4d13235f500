#include "Ardo/Kiln/FileSystem/ReplacementFile.h"

#include "Ardo/Kiln/FileSystem/TemporaryFile.h"
#include "tests/Kiln/FileSystem/ReplacementCheck.h"
#include "tests/Support/FailingSystemCall.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedNobody.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/ScopedVariable.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Ardo::Kiln::FileSystem
{

namespace fs = std::filesystem;

namespace
{

using Support::ModeOf;
using Support::Nobody;
using Support::NoFilesWithoutName;
using Support::ReadFile;
using Support::WriteFile;

unsigned GroupOf(const fs::path& path)
{
    struct stat status
    {
    };
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_gid;
}

/// The permissions of a new file are those of the process, and those of a replaced file stay.
void CheckPermissions()
{
    const Support::ScopedTempDir folder;
    const fs::path target = folder / ("名前 ü" + std::string(245, 'x')); // as long as names can be
    constexpr mode_t Mask = 027;
    const mode_t before = ::umask(Mask);
    Replace(target, "first");
    EXPECT_EQ(ModeOf(target), 0666U & ~Mask);
    for (const auto& [mode, kept] : {std::pair(0600U, 0600U), {0666U, 0666U}, {04755U, 0755U}})
    {
        ASSERT_EQ(::chmod(target.c_str(), mode), 0);
        ReplacementFile file(ToWide(target));
        EXPECT_EQ(ModeOf(file.Path()), 0600U) << mode;
        file.Commit();
        EXPECT_EQ(ModeOf(target), kept);
        EXPECT_EQ(Support::NamesIn(folder.Path()).size(), 1U);
    }
    ::umask(before);
}

void CheckAll()
{
    CheckReplacement();
    CheckPermissions();
}

} // namespace

TEST(ReplacementFileLinuxTest, PermissionsFollowTheReplacedFile)
{
    CheckPermissions();
}

TEST(ReplacementFileLinuxTest, SystemsWithoutFilesWithoutANameGetTheSame)
{
    const auto hasName = []
    {
        const Support::ScopedTempDir folder;
        const ReplacementFile file(folder / "target");
        EXPECT_EQ(file.Path().parent_path(), folder.Path());
        EXPECT_THAT(file.Path().filename(), testing::MatchesRegex("\\.[0-9a-f]{16}\\.part"));
    };
    Support::RunWithFailing(NoFilesWithoutName, hasName);
    Support::RunWithFailing(NoFilesWithoutName, CheckAll);

    // Without /proc they cannot be opened again.
    const Support::FailingSystemCall reopen{SYS_openat, 2, 0xFFFFFFFF, O_RDWR | O_CLOEXEC, ENOENT};
    Support::RunWithFailing(reopen, hasName);
    Support::RunWithFailing(reopen, CheckAll);

    // They may be made, but not linked.
    Support::RunWithFailing({SYS_linkat, 0, 0, 0, EACCES}, CheckAll);
}

TEST(ReplacementFileLinuxTest, ALinkStaysALinkAndItsFileIsWritten)
{
    const Support::ScopedTempDir folder;
    fs::create_directory(folder / "real");
    WriteFile(folder / "real/file", "old");
    fs::create_symlink("real/file", folder / "link");
    fs::create_symlink("missing", folder / "real/next");
    fs::create_symlink("real/next", folder / "dangling"); // names what is not there through another link
    fs::create_symlink(folder / "circle", folder / "circle");

    Replace(folder / "link", "new");
    Replace(folder / "dangling", "made");
    EXPECT_EQ(ReadFile(folder / "real/file"), "new");
    EXPECT_EQ(ReadFile(folder / "real/missing"), "made");
    for (const char* const link : {"link", "dangling", "real/next"})
    {
        EXPECT_TRUE(fs::is_symlink(folder / link)) << link;
    }
    EXPECT_THROW(ReplacementFile{folder / "circle"}, fs::filesystem_error);
    EXPECT_THROW(ReplacementFile{"/dev/null"}, fs::filesystem_error);
    EXPECT_THROW(ReplacementFile{folder / std::string(256, 'x')}, fs::filesystem_error);
}

TEST(ReplacementFileLinuxTest, OthersGetNoRightsByAReplacement)
{
    if (::geteuid() != 0)
    {
        GTEST_SKIP() << "only a privileged process can act as another user";
    }
    const Support::ScopedTempDir folder;
    fs::permissions(folder.Path(), fs::perms::all);
    const struct
    {
        unsigned owner, group, mode, newGroup, newMode; ///< newMode 0: refused.
    } rows[] = {{0, 0, 0644, 0, 0},                     // its owner may write it, this user may not
                {Nobody, 0, 0640, Nobody, 0600},        // the group cannot be kept: its rights are not another group's
                {Nobody, 0, 0664, Nobody, 0644},
                {Nobody, Nobody, 0640, Nobody, 0640}};
    const fs::path target = folder / "file";
    for (const auto& row : rows)
    {
        fs::remove(target);
        WriteFile(target, "old");
        ASSERT_EQ(::chown(target.c_str(), row.owner, row.group), 0);
        ASSERT_EQ(::chmod(target.c_str(), row.mode), 0);
        const Support::ScopedNobody nobody;
        if (row.newMode == 0)
        {
            EXPECT_THROW(ReplacementFile{target}, fs::filesystem_error);
            continue;
        }
        Replace(target, "new");
        EXPECT_EQ(GroupOf(target), row.newGroup) << row.mode;
        EXPECT_EQ(ModeOf(target), row.newMode) << row.mode;
    }
    ASSERT_EQ(::chown(target.c_str(), 0, Nobody), 0);
    Replace(target, "new");
    EXPECT_EQ(GroupOf(target), Nobody);
}

TEST(TemporaryFileLinuxTest, IsItsOwnersAloneAndGoneWithTheObject)
{
    const Support::ScopedTempDir folder;
    const auto check = [&]
    {
        {
            const Support::ScopedVariable inFolder("TMPDIR", folder.Path());
            const TemporaryFile file;
            WriteFile(ToPath(file.WidePath()), "text");
            EXPECT_EQ(ReadFile(file.Path()), "text");
            EXPECT_EQ(ModeOf(file.Path()), 0600U);
        }
        EXPECT_EQ(Support::NamesIn(folder.Path()).size(), 0U);
        const Support::ScopedVariable missing("TMPDIR", folder / "missing");
        EXPECT_THROW(TemporaryFile(), fs::filesystem_error);
    };
    check();
    Support::RunWithFailing(NoFilesWithoutName, check);
}

} // namespace Ardo::Kiln::FileSystem
