#include "Ardo/Imaging/DisplayKernels_p.h"

#include "Ardo/Kiln/Platform/ProcessorFeatures.h"

#include <algorithm>
#include <array>
#include <bit>

#include <emmintrin.h>

namespace Ardo::Imaging
{

namespace
{

float Position(float value, LevelLine line, float largest)
{
    const float position = (value - line.black) * line.scale;
    // In this order what is not a number becomes 0.
    return std::min(position > 0.0f ? position : 0.0f, largest);
}

std::uint8_t Level(float value, LevelLine line)
{
    return static_cast<std::uint8_t>(_mm_cvtss_si32(_mm_set_ss(Position(value, line, 255.0f))));
}

void LookUp8(const std::uint8_t* in, std::size_t count, const std::uint8_t* table, std::uint8_t* out)
{
    std::transform(in, in + count, out, [table](std::uint8_t value) { return table[value]; });
}

template <typename Sample>
void ApplyWholeLine(const Sample* in, std::size_t count, WholeLine line, std::uint8_t* out)
{
    std::transform(in, in + count, out, [line](Sample value) { return line.LevelOf(value); });
}

void Line16(const std::uint16_t* in, std::size_t count, LevelLine line, std::uint8_t* out)
{
    std::transform(in, in + count, out, [line](std::uint16_t value) { return Level(value, line); });
}

void LineFloat(const float* in, std::size_t count, LevelLine line, std::uint8_t* out)
{
    std::transform(in, in + count, out, [line](float value) { return Level(value, line); });
}

void CurveFloat(const float* in, std::size_t count, const LevelCurve& curve, std::uint8_t* out)
{
    std::transform(in, in + count, out,
                   [&curve](float value)
                   {
                       const auto bits = std::bit_cast<std::uint32_t>(Position(value, curve.line, 1.0f));
                       return curve.levels[std::max(bits >> LevelCurve::Shift, LevelCurve::First) - LevelCurve::First];
                   });
}

template <std::size_t Samples>
void Pack(const std::uint8_t* in, std::size_t count, std::uint32_t* out)
{
    for (std::size_t i = 0; i < count; ++i, in += Samples)
    {
        out[i] = 0xff000000u | static_cast<std::uint32_t>(in[0]) << 16 | static_cast<std::uint32_t>(in[1]) << 8 | in[2];
    }
}

} // namespace

const DisplayKernels& PortableDisplayKernels() noexcept
{
    static constexpr DisplayKernels Kernels = {
        LookUp8, ApplyWholeLine<std::uint8_t>, ApplyWholeLine<std::uint16_t>, Line16, LineFloat, CurveFloat, Pack<3>,
        Pack<4>};
    return Kernels;
}

std::span<const DisplayKernels* const> UsableDisplayKernels() noexcept
{
    static const std::array all = {&PortableDisplayKernels(), &Avx2DisplayKernels(), &Avx512DisplayKernels()};
    static const std::size_t count = Kiln::Platform::HasAvx512() ? 3 : Kiln::Platform::HasAvx2() ? 2 : 1;
    return std::span(all).first(count);
}

const DisplayKernels& BestDisplayKernels() noexcept
{
    return *UsableDisplayKernels().back();
}

} // namespace Ardo::Imaging
