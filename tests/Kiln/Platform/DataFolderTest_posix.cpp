#include "Ardo/Kiln/Platform/DataFolder.h"

#include "tests/Support/Process.h"
#include "tests/Support/ScopedNobody.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/ScopedVariable.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <optional>
#include <string>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

namespace fs = std::filesystem;

namespace
{

using Support::ModeOf;

int Make(const fs::path& folder)
{
    return MakePrivateFolder(folder.c_str());
}

} // namespace

TEST(DataFolderTest, TheEnvironmentNamesTheFolders)
{
    const std::string home = ::getpwuid(::getuid())->pw_dir;
    const struct
    {
        std::optional<std::string> data;
        std::optional<std::string> home;
        std::optional<std::string> temporary;
        std::vector<fs::path> folders;
    } rows[] = {{"/d", "/h", "/t", {"/d", "/t"}},
                {{}, "/h", {}, {"/h/.local/share", "/tmp"}},
                {"", "/h", "", {"/h/.local/share", "/tmp"}},
                {"relative", "/h", "relative", {"/h/.local/share", "/tmp"}},
                {{}, {}, "/t", {home + "/.local/share", "/t"}},
                {{}, "relative", "/t", {home + "/.local/share", "/t"}}};
    for (const auto& row : rows)
    {
        const Support::ScopedVariable data("XDG_DATA_HOME", row.data);
        const Support::ScopedVariable ofUser("HOME", row.home);
        const Support::ScopedVariable temporary("TMPDIR", row.temporary);
        EXPECT_EQ(DataFolders(), row.folders) << row.data.value_or("none");
    }
}

TEST(DataFolderTest, MissingParentsAreMadeForTheUserAlone)
{
    const Support::ScopedTempDir folder;
    const mode_t before = ::umask(0);
    fs::create_directory(folder / "there");
    const fs::path inner = folder / "there//ü/inner/";
    EXPECT_EQ(Make(inner), 0);
    EXPECT_EQ(Make(inner), 0) << "again";
    ::umask(before);
    EXPECT_EQ(ModeOf(folder / "there"), 0777U);
    EXPECT_EQ(ModeOf(folder / "there/ü"), 0700U);
    EXPECT_EQ(ModeOf(inner), 0700U);
    EXPECT_EQ(Make("/"), ::geteuid() == 0 ? 0 : EACCES);
}

TEST(DataFolderTest, WhatIsNoFolderIsRefused)
{
    const Support::ScopedTempDir folder;
    Support::WriteFile(folder / "file", "");
    fs::create_directory_symlink(folder / "target", folder / "dangling");
    // A name may have 255 bytes, a path 4095.
    std::string longest = folder.Path();
    while (longest.size() + 200 < 4095)
    {
        longest += "/" + std::string(150, 'x');
    }
    longest += "/" + std::string(4094 - longest.size(), 'x');
    ASSERT_EQ(longest.size(), 4095U);
    const struct
    {
        fs::path path;
        int error;
    } rows[] = {{folder / "file", ENOTDIR},
                {folder / "file/inner", ENOTDIR},
                {folder / "dangling", ENOENT},
                {folder / std::string(256, 'x'), ENAMETOOLONG},
                {longest, 0},
                {longest + "x", ENAMETOOLONG},
                {longest + "/y", ENAMETOOLONG},
                {std::string(100'000, '/'), ENAMETOOLONG},
                {"", ENOENT},
                {"/proc/self/kiln", ENOENT}};
    for (const auto& row : rows)
    {
        EXPECT_EQ(Make(row.path), row.error) << row.path;
    }
}

TEST(DataFolderTest, OthersCannotPutAFolderInTheWay)
{
    if (::geteuid() != 0)
    {
        GTEST_SKIP() << "only a privileged process can act as another user";
    }
    const Support::ScopedTempDir folder;
    fs::permissions(folder.Path(), fs::perms::all);
    const auto give = [&](const char* name) { ASSERT_EQ(::lchown((folder / name).c_str(), Support::Nobody, 0), 0); };
    fs::create_directories(folder / "own/inner");
    fs::create_directories(folder / "other/inner");
    give("other");
    give("other/inner");
    for (const auto& [link, target] : {std::pair("own to own", "own"),
                                       {"own to other", "other"},
                                       {"other to own", "own"},
                                       {"other to other", "other"}})
    {
        fs::create_directory_symlink(target, folder / link);
    }
    give("other to own");
    give("other to other");
    const struct
    {
        const char* path;
        int asRoot;
        int asNobody;
    } rows[] = {{"own", 0, EACCES},
                {"other", EACCES, 0},
                {"own/inner", 0, EACCES},
                {"other/inner", EACCES, 0},
                {"own to own", 0, EACCES},
                {"own to other", EACCES, 0}, // the administrator's links are trusted
                {"other to own", EACCES, EACCES},
                {"other to own/inner", EACCES, EACCES},
                {"other to other", EACCES, 0}};
    for (const auto& row : rows)
    {
        EXPECT_EQ(Make(folder / row.path), row.asRoot) << row.path;
        const Support::ScopedNobody nobody;
        EXPECT_EQ(Make(folder / row.path), row.asNobody) << row.path;
    }
    fs::permissions(folder / "other", fs::perms(0500));
    const Support::ScopedNobody nobody;
    EXPECT_EQ(Make(folder / "other"), EACCES) << "takes no new file";
}

} // namespace Ardo::Kiln::Platform
