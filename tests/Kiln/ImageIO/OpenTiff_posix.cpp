#include "tests/Kiln/ImageIO/OpenTiff.h"

namespace Ardo::Kiln::ImageIO
{

TiffHandle OpenTiff(const std::filesystem::path& path, const char* mode)
{
    return {TIFFOpen(path.c_str(), mode), &TIFFClose};
}

} // namespace Ardo::Kiln::ImageIO
