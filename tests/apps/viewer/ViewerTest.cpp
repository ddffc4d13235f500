#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Kiln/ImageIO/ReadImageFromFile.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <cstring>

namespace Ardo::Kiln
{

using Support::Quoted;

TEST(ViewerTest, APictureOfTheWindowShowsTheFileAndAFileThatIsNoneIsAnError)
{
    const Support::ScopedTempDir folder;
    // Qt's platform without a screen never deletes its screen.
    const std::string viewer =
        "QT_QPA_PLATFORM=offscreen ASAN_OPTIONS=detect_leaks=0 timeout 60 " KILN_VIEWER " --screenshot picture.png ";
    const auto picture = [&] { return ImageIO::ReadImageFromFile((folder / "picture.png").wstring()); };
    ASSERT_EQ(Support::RunShell(viewer, folder.Path()).status, 0);
    const auto empty = picture();
    const std::string image = Quoted(KILN_TEST_DATA "/images/cell.png");
    ASSERT_EQ(Support::RunShell(viewer + image, folder.Path()).status, 0);
    const auto full = picture();
    const std::size_t size = full->Stride() * full->Size().height;
    ASSERT_EQ(size, empty->Stride() * empty->Size().height);
    EXPECT_NE(std::memcmp(full->Row(0), empty->Row(0), size), 0);

    const Support::ProcessResult missing = Support::RunShell(viewer + "missing.tif", folder.Path());
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.error, ::testing::HasSubstr("viewer: ReadImageFromFile: failed to open file -missing.tif"));
}

} // namespace Ardo::Kiln
