#include "Ardo/Kiln/System/Version.h"

#include "Ardo/KilnVersion.h"

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/VersionedLibrary.h"

#include <gtest/gtest.h>

namespace Ardo::Kiln::System
{

TEST(VersionTest, ReadsComparesAndPrints)
{
    // Each text is less than the next one.
    const char* const rising[] = {"0", "0.0.0.1", "1", "1.0.1", "1.2", "1.2.3", "1.10", "1.10.0.4294967295", "2"};
    for (std::size_t i = 0; i < std::size(rising); ++i)
    {
        const auto version = Version::Parse(rising[i]);
        ASSERT_TRUE(version) << rising[i];
        EXPECT_EQ(version->ToText(), rising[i]);
        for (std::size_t j = 0; j < std::size(rising); ++j)
        {
            EXPECT_EQ(*version <=> *Version::Parse(rising[j]), i <=> j) << rising[i] << ' ' << rising[j];
        }
    }
    EXPECT_EQ(Version::Parse("7.7"), Version(7, 7, 0));
    EXPECT_EQ(Version::Parse("07.007")->ToText(), "7.7");
    EXPECT_EQ(Version(1, 2, 3, 4).ToText(2), "1.2");
    EXPECT_EQ(Version(1).ToText(9), "1.0.0.0");
    EXPECT_EQ(Version(1, 2, 3, 4).ToText(-1), "1");
    const Version version(1, 2, 3, 4);
    EXPECT_EQ(Version(version.Major(), version.Minor(), version.Patch(), version.Build()), version);
    for (const char* const text : {"", ".", "1.", ".1", "1..2", "1.2.3.4.5", "1.2.3.4.", "-1", "+1", " 1", "1 ", "1,2",
                                   "1.x", "v1", "1.2-beta", "4294967296", "0x10", "1\n"})
    {
        EXPECT_EQ(Version::Parse(text), std::nullopt) << text;
    }
    EXPECT_EQ(Version::Parse(std::string_view("1\0", 2)), std::nullopt);
    EXPECT_EQ(LibraryVersion().ToText(), KILN_VERSION);
}

TEST(VersionTest, OfAFile)
{
    const Support::ScopedTempDir folder;
    Support::WriteFile(folder / "kestrel.dll", Support::VersionedLibrary({7, 8, 9, 10}));
    EXPECT_EQ(FileVersionOf(folder / "kestrel.dll"), Version(7, 8, 9, 10));
    EXPECT_EQ(FileVersionOf(folder / "missing.dll"), std::nullopt);
}

} // namespace Ardo::Kiln::System
