#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Kiln/ImageIO/ReadImageFromFile.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace Ardo::Kiln
{

TEST(ViewerTest, APictureOfTheWindowShowsTheFileAndAFileThatIsNoneIsAnError)
{
    const Support::ScopedTempDir folder;
    const auto run = [&](const std::string& file)
    {
        Support::Program program{{KILN_VIEWER, "--screenshot", "picture.png", "--settings", "viewer.ini",
                                  "--log-folder", "log", "-platform", "offscreen"},
                                 folder.Path()};
        if (!file.empty())
        {
            program.words.push_back(file);
        }
        program.variables = {{"ASAN_OPTIONS", "detect_leaks=0"}}; // that platform of Qt never deletes its screen
        return Support::Run(program);
    };
    const auto picture = [&] { return ImageIO::ReadImageFromFile((folder / "picture.png").wstring()); };
    ASSERT_EQ(run("").status, 0);
    const auto empty = picture();
    ASSERT_EQ(run(KILN_TEST_DATA "/images/cell.png").status, 0);
    const auto full = picture();
    const std::size_t size = full->Stride() * full->Size().height;
    ASSERT_EQ(size, empty->Stride() * empty->Size().height);
    EXPECT_NE(std::memcmp(full->Row(0), empty->Row(0), size), 0);

    // A hot pixel in a faint gradient, a comment of many lines and one of a single word.
    std::vector<std::uint16_t> pixels(256 * 256);
    for (std::size_t i = 0; i < pixels.size(); ++i)
    {
        pixels[i] = static_cast<std::uint16_t>(1000 + i % 256);
    }
    pixels[1234] = 65535;
    for (std::string comment : {std::string(5000, 'x'), std::string(5000, '\n')})
    {
        MetadataLib::Metadata metadata;
        metadata.Core.Comment = std::move(comment);
        ImageIO::TiffExporter().WriteUInt16Image((folder / "faint.tif").wstring(), pixels.data(), 256, 256, &metadata);
        ASSERT_EQ(run("faint.tif").status, 0);
        const auto window = picture();
        EXPECT_EQ(window->Size(), empty->Size());
        const auto grey = [&](std::uint32_t x)
        {
            const auto* const row = static_cast<const unsigned char*>(window->Row(window->Size().height / 3));
            return row[x * Imaging::BytesPerPixel(window->Kind())];
        };
        // The image is in the middle of what the panels leave, 256 pixels of the screen wide.
        std::vector<unsigned char> row;
        for (std::uint32_t x = 0; x < window->Size().width; ++x)
        {
            row.push_back(grey(x));
        }
        const auto isRamp = [](const unsigned char* first)
        { return first[8] < 30 && first[248] > 225 && std::is_sorted(first, first + 256); };
        bool isShown = false;
        for (std::size_t x = 0; x + 256 < row.size(); ++x)
        {
            isShown = isShown || isRamp(row.data() + x);
        }
        EXPECT_TRUE(isShown);
    }

    const Support::ProcessResult missing = run("missing.tif");
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.error, ::testing::HasSubstr("viewer: missing.tif: "));
}

} // namespace Ardo::Kiln
