#include "Ardo/Kiln/FileSystem/ApplicationName.h"

#include <gtest/gtest.h>

namespace Ardo::Kiln::FileSystem
{

TEST(ApplicationNameTest, IsTheProgramsFileNameWithoutFolderAndExtension)
{
    EXPECT_EQ(GetApplicationName(), "FileSystemTests");
}

} // namespace Ardo::Kiln::FileSystem
