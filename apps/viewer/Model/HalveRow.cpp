#include "apps/viewer/Model/HalveRow.h"

#include <algorithm>
#include <array>
#include <type_traits>

namespace Ardo::Kiln::Viewer
{

namespace
{

/// Whole numbers of at most 16 bits, or floats; their sums are exact.
template <typename Sample>
Sample Mean(Sample a, Sample b, Sample c, Sample d)
{
    if constexpr (std::is_floating_point_v<Sample>)
    {
        return static_cast<Sample>((double{a} + double{b} + double{c} + double{d}) / 4);
    }
    else
    {
        return static_cast<Sample>((std::uint32_t{a} + b + c + d + 2) / 4);
    }
}

/// One new pixel of four old ones.
template <typename Sample, std::size_t Samples>
void Halve(const std::array<const Sample*, 4>& pixels, Sample* out)
{
    if constexpr (Samples == 4)
    {
        std::uint32_t opacity = 0;
        std::array<std::uint32_t, 3> sums{};
        for (const Sample* const pixel : pixels)
        {
            opacity += pixel[3];
            for (std::size_t i = 0; i < sums.size(); ++i)
            {
                sums[i] += std::uint32_t{pixel[i]} * pixel[3];
            }
        }
        for (std::size_t i = 0; i < sums.size(); ++i)
        {
            out[i] = static_cast<Sample>(opacity == 0 ? 0 : (sums[i] + opacity / 2) / opacity);
        }
        out[3] = static_cast<Sample>((opacity + 2) / 4);
    }
    else
    {
        for (std::size_t i = 0; i < Samples; ++i)
        {
            out[i] = Mean(pixels[0][i], pixels[1][i], pixels[2][i], pixels[3][i]);
        }
    }
}

template <typename Sample, std::size_t Samples>
void Halve(const void* upperRow, const void* lowerRow, std::uint32_t width, void* row)
{
    const auto* const upper = static_cast<const Sample*>(upperRow);
    const auto* const lower = static_cast<const Sample*>(lowerRow);
    auto* const out = static_cast<Sample*>(row);
    for (std::size_t x = 0; x < width / 2; ++x)
    {
        const std::size_t left = 2 * Samples * x;
        Halve<Sample, Samples>({upper + left, upper + left + Samples, lower + left, lower + left + Samples},
                               out + Samples * x);
    }
    if (width % 2 != 0)
    {
        const std::size_t last = Samples * (width - 1);
        Halve<Sample, Samples>({upper + last, upper + last, lower + last, lower + last}, out + Samples * (width / 2));
    }
}

} // namespace

void HalveRow(Imaging::PixelKind kind, const void* upper, const void* lower, std::uint32_t width, void* out)
{
    switch (kind)
    {
    case Imaging::PixelKind::UInt8:
        return Halve<std::uint8_t, 1>(upper, lower, width, out);
    case Imaging::PixelKind::UInt16:
        return Halve<std::uint16_t, 1>(upper, lower, width, out);
    case Imaging::PixelKind::Float32:
        return Halve<float, 1>(upper, lower, width, out);
    case Imaging::PixelKind::Rgb8:
        return Halve<std::uint8_t, 3>(upper, lower, width, out);
    case Imaging::PixelKind::Rgba8:
        return Halve<std::uint8_t, 4>(upper, lower, width, out);
    }
}

} // namespace Ardo::Kiln::Viewer
