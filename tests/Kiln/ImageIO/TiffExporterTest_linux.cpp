#include "Ardo/Kiln/ImageIO/ExportRawImageException.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Kiln/ImageIO/TiffTestFiles.h"

#include <cstdlib>
#include <utility>

#include <gmock/gmock.h>
#include <sys/resource.h>

namespace Ardo::Kiln::ImageIO
{

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace
{

class TiffExporterLinuxTest : public TiffTest
{
protected:
    TiffExporter m_exporter;
};

} // namespace

TEST_F(TiffExporterLinuxTest, AFullDiskIsReportedAndTheExporterGoesOn)
{
    // A limit on the size of files fails as a full disk does, after part of the data.
    const auto writeWithLimits = [&]
    {
        const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
        const MetadataLib::Metadata metadata;
        const auto write = [&](rlim_t size)
        {
            const rlimit limit{size, RLIM_INFINITY};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            return WritePattern(m_exporter, m_path, 100, 64, &TiffExporter::WriteUInt16Image, &metadata);
        };
        for (const auto& [limit, detail] : {std::pair(0, "Unable to open file. ("),
                                            {4096 + 8000, "Error during writing of image data. ("},
                                            {4096 + 12800 + 20, "Error during writing of TIFF directory. ("}})
        {
            EXPECT_THAT(
                MessageOf<ExportRawImageException>([&] { write(static_cast<rlim_t>(limit)); }),
                AllOf(StartsWith(std::string("Failed to write TIFF image. ") + detail), HasSubstr("File too large")));
            EXPECT_THAT(Open(m_path), StartsWith("Unable to open Tiff file"));
            ::setrlimit(RLIMIT_FSIZE, &unlimited); // room again, before the file is closed
            m_exporter = TiffExporter();
            EXPECT_THAT(Open(m_path), StartsWith("Unable to open Tiff file"));
            const std::string pixels = write(RLIM_INFINITY);
            EXPECT_EQ(Open(m_path), "");
            EXPECT_EQ(PixelsOf(m_reader), pixels.substr(0, 12800));
        }
    };
    EXPECT_EXIT((writeWithLimits(), std::_Exit(HasFailure() ? 1 : 0)), testing::ExitedWithCode(0), "^$");
}

} // namespace Ardo::Kiln::ImageIO
