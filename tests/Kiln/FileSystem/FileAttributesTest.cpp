#include "Ardo/Kiln/FileSystem/FileAttributes.h"

#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <fstream>

namespace Ardo::Kiln::FileSystem
{

TEST(FileAttributesTest, AMissingFileIsNeitherHiddenNorReadOnly)
{
    const Support::ScopedTempDir folder;
    for (const auto& missing : {folder / "file", folder / ".hidden"})
    {
        EXPECT_FALSE(IsHidden(missing));
        EXPECT_FALSE(IsReadOnly(missing));
        EXPECT_NO_THROW(RemoveHiddenAttribute(missing));
        EXPECT_THAT(
            [&] { RemoveReadOnlyAttribute(missing); },
            testing::ThrowsMessage<std::exception>("Can not remove read only file attribute of " + missing.string()));
    }
}

TEST(FileAttributesTest, ReadOnlyIsSeenAndCleared)
{
    const Support::ScopedTempDir folder;
    const auto file = folder / "µ.log";
    std::ofstream(file) << "kept";
    EXPECT_FALSE(IsReadOnly(file));
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    EXPECT_TRUE(IsReadOnly(file));
    RemoveReadOnlyAttribute(file);
    EXPECT_FALSE(IsReadOnly(file));
}

TEST(FileAttributesTest, AFileHiddenByItsNameStaysHidden)
{
    const Support::ScopedTempDir folder;
    const auto file = folder / ".hidden";
    std::ofstream(file) << "x";
    EXPECT_TRUE(IsHidden(file));
    EXPECT_THAT([&] { RemoveHiddenAttribute(file); },
                testing::ThrowsMessage<std::exception>("Can not remove hidden file attribute of " + file.string()));
}

} // namespace Ardo::Kiln::FileSystem
