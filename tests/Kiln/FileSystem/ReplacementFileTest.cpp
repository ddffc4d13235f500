#include "Ardo/Kiln/FileSystem/ReplacementFile.h"

#include "Ardo/Kiln/FileSystem/TemporaryFile.h"
#include "tests/Kiln/FileSystem/ReplacementCheck.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/ScopedVariable.h"
#include "tests/Support/SystemFacilities.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <initializer_list>
#include <string>

namespace Ardo::Kiln::FileSystem
{

namespace fs = std::filesystem;

using Support::ReadFile;
using Support::WriteFile;

TEST(ReplacementFileTest, OldFilesStayUntilCommitAndNothingElseEver)
{
    CheckReplacement();

    // A relative name counts from the folder of the beginning.
    const Support::ScopedTempDir folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.Path());
    ReplacementFile file("relative");
    fs::current_path(before);
    file.Commit();
    EXPECT_TRUE(fs::exists(folder / "relative"));
}

TEST(ReplacementFileTest, ATargetThatCannotBeReplacedIsRefusedAtOnce)
{
    const Support::ScopedTempDir folder;
    fs::create_directory(folder / "folder");
    WriteFile(folder / "read-only", "old");
    fs::permissions(folder / "read-only", fs::perms::owner_read);

    const struct
    {
        fs::path target;
        std::initializer_list<std::errc> reasons; ///< One for each system.
    } rows[] = {{folder / "folder", {std::errc::is_a_directory}},
                {folder / "read-only", {std::errc::permission_denied}},
                {folder / "missing/file", {std::errc::no_such_file_or_directory}},
                {folder / "read-only/file", {std::errc::not_a_directory, std::errc::no_such_file_or_directory}},
                {folder / std::string("cut\0off", 7), {std::errc::invalid_argument}},
                {"", {std::errc::invalid_argument}}};
    for (const auto& [target, reasons] : rows)
    {
        try
        {
            const ReplacementFile file(target);
            ADD_FAILURE() << target;
        }
        catch (const fs::filesystem_error& error)
        {
            EXPECT_TRUE(std::ranges::any_of(reasons, [&](std::errc reason) { return error.code() == reason; }))
                << target << error.what();
        }
    }
    EXPECT_EQ(Support::NamesIn(folder.Path()).size(), 2U);

    EXPECT_THAT([&] { ReplacementFile(folder.Path() / Support::NameThatIsNoText("missing", "") / "file"); },
                testing::ThrowsMessage<fs::filesystem_error>(testing::HasSubstr("missing\uFFFD")));
}

TEST(TemporaryFileTest, IsGoneWithTheObject)
{
    const Support::ScopedTempDir folder;
    for (const char* const variable : {"TMPDIR", "TMP"})
    {
        const Support::ScopedVariable temporary(variable, folder.Path());
        const TemporaryFile file;
        WriteFile(ToPath(file.WidePath()), "text");
        EXPECT_EQ(ReadFile(file.Path()), "text");
    }
    EXPECT_EQ(Support::NamesIn(folder.Path()).size(), 0U);
}

} // namespace Ardo::Kiln::FileSystem
