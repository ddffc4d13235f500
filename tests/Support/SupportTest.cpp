#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <locale>

namespace Ardo::Kiln::Support
{

TEST(SupportTest, TheHostileRunReallyHasACommaGroupingAndAHalfHourZone)
{
    if (std::getenv("KILN_HOSTILE_LOCALE") == nullptr)
    {
        GTEST_SKIP() << "the ordinary run";
    }
    EXPECT_STREQ(std::localeconv()->decimal_point, ",");
    EXPECT_EQ(std::use_facet<std::numpunct<char>>(std::locale()).thousands_sep(), '.');

    const std::time_t epoch = 0;
    const std::tm local = *std::localtime(&epoch);
    EXPECT_EQ(local.tm_hour, 5);
    EXPECT_EQ(local.tm_min, 30);
}

TEST(SupportTest, ATemporaryFolderIsItsOwnAndGoesWithItsObject)
{
    std::filesystem::path path;
    {
        const ScopedTempDir first;
        const ScopedTempDir second;
        EXPECT_NE(first.Path(), second.Path());
        path = first.Path();
        std::ofstream(first / "file") << "text";
        EXPECT_TRUE(std::filesystem::exists(path));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

} // namespace Ardo::Kiln::Support
