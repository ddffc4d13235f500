#include "Ardo/Kiln/MetadataSerializer/ConvertToQd.h"

#include "Ardo/MetadataLib/Metadata.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>

namespace Ardo::Kiln
{

TEST(ConvertToQdTest, ThePixelSizeStandsUnderBothScansWhereItIsInMetres)
{
    using MetadataLib::PixelSizeRecord;
    const std::string fixed = "[Beam]\r\nBeam=EBeam\r\nScan=EScan\r\n[Scan]\r\n";
    const struct
    {
        std::optional<PixelSizeRecord> pixelSize;
        std::string lines;
    } rows[] = {
        {std::nullopt, ""},
        {PixelSizeRecord{{2.5e-10, "m", 0}, {2.5e-10, "m", std::nullopt}},
         "PixelWidth=2.500000e-10\r\nPixelHeight=2.500000e-10\r\n"},
        {PixelSizeRecord{{2.5e-10, "m", 0}, {2.5e-10, "nm", 0}}, "PixelWidth=2.500000e-10\r\n"},
        {PixelSizeRecord{{1.0, std::nullopt, 0}, {-1234567.89, "m", 0}}, "PixelHeight=-1.234568e+06\r\n"},
        {PixelSizeRecord{{1e-300, "m", 0}, {std::numeric_limits<double>::infinity(), "m", 0}},
         "PixelWidth=1.000000e-300\r\nPixelHeight=     inf\r\n"},
        {PixelSizeRecord{{1.0, "M", 0}, {1.0, "", 0}}, ""},
        {PixelSizeRecord{{107, "m", -9}, {0.25, "m", 3}}, "PixelWidth=1.070000e+02\r\nPixelHeight=2.500000e-01\r\n"},
    };
    for (const auto& [pixelSize, lines] : rows)
    {
        MetadataLib::Metadata metadata;
        metadata.BinaryResult.PixelSize = pixelSize;
        EXPECT_EQ(ConvertToQd(metadata), fixed + lines + "[EScan]\r\n" + lines);
    }
}

} // namespace Ardo::Kiln
