#pragma once

#include <cstdint>

namespace Ardo::Kiln::ImageIO
{

/// The type of the samples of a TIFF image: the codes of the tag SampleFormat (TIFF 6.0, section 19). A file may hold
/// other codes, which are kept as they are.
enum class TiffSampleFormat : std::uint16_t
{
    UnsignedInteger = 1,
    SignedInteger = 2,
    FloatingPoint = 3, ///< IEEE
};

} // namespace Ardo::Kiln::ImageIO
