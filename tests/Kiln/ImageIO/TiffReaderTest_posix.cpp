#include "tests/Kiln/ImageIO/TiffTestFiles.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace Ardo::Kiln::ImageIO
{

using TiffReaderPosixTest = TiffTest;

TEST_F(TiffReaderPosixTest, PipesAndDevicesDoNotHang)
{
    ASSERT_EQ(::mkfifo((m_dir / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(Open(m_dir / "pipe"), "Unable to open Tiff file (Not a regular file)");
    EXPECT_EQ(Open(std::filesystem::path("/dev/zero")), "Unable to open Tiff file (Not a regular file)");
}

} // namespace Ardo::Kiln::ImageIO
