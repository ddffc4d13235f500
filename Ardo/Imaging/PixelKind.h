#pragma once

#include <cstddef>
#include <cstdint>

namespace Ardo::Imaging
{

/// The samples of one pixel. Samples have the byte order of the machine.
enum class PixelKind : std::uint8_t
{
    UInt8,   ///< one unsigned sample of 8 bits
    UInt16,  ///< one unsigned sample of 16 bits
    Float32, ///< one IEEE sample of 32 bits
    Rgb8,    ///< rgb_type<unsigned char>
    Rgba8,   ///< rgba_type<unsigned char>
};

/// The size of one pixel of \p kind in bytes.
[[nodiscard]] constexpr std::size_t BytesPerPixel(PixelKind kind) noexcept
{
    switch (kind)
    {
    case PixelKind::UInt16:
        return 2;
    case PixelKind::Rgb8:
        return 3;
    case PixelKind::Float32:
    case PixelKind::Rgba8:
        return 4;
    case PixelKind::UInt8:
        break;
    }
    return 1;
}

} // namespace Ardo::Imaging
