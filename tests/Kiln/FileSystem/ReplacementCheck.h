#pragma once

#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace Ardo::Kiln::FileSystem
{

inline void Replace(const std::filesystem::path& target, const std::string& text)
{
    ReplacementFile file(target);
    Support::WriteFile(file.Path(), text);
    file.Commit();
}

/// What a replacement promises on every system and however it is made: the old file stays until Commit, nothing is left
/// of one that is not committed, and a commit that fails can be repeated.
inline void CheckReplacement()
{
    namespace fs = std::filesystem;
    using Support::ReadFile;
    using Support::WriteFile;

    const Support::ScopedTempDir folder;
    const fs::path target = folder / ("名前 ü" + std::string(200, 'x'));
    {
        ReplacementFile file(target);
        WriteFile(ToPath(file.WidePath()), "first");
        EXPECT_FALSE(fs::exists(target));
        EXPECT_EQ(fs::file_size(file.Path()), 5U);
        file.Commit();
        EXPECT_EQ(file.Path(), fs::path());
        EXPECT_THROW(file.Commit(), fs::filesystem_error);
    }
    EXPECT_EQ(ReadFile(target), "first");
    Replace(target, "again");

    for (const fs::path& path : {target, folder / "other"})
    {
        const ReplacementFile file(path);
        WriteFile(file.Path(), "half");
    }
    EXPECT_EQ(ReadFile(target), "again");
    EXPECT_EQ(Support::NamesIn(folder.Path()).size(), 1U);

    ReplacementFile late(folder / "late");
    fs::create_directory(folder / "late"); // comes into the way after the check
    WriteFile(folder / "late/inside", "kept");
    for (int attempt = 0; attempt < 2; ++attempt)
    {
        EXPECT_THROW(late.Commit(), fs::filesystem_error);
        EXPECT_EQ(ReadFile(folder / "late/inside"), "kept");
    }
    fs::remove_all(folder / "late");
    late.Commit(); // nothing was lost by that
    EXPECT_EQ(Support::NamesIn(folder.Path()).size(), 2U);
}

} // namespace Ardo::Kiln::FileSystem
