#include "Ardo/Imaging/DisplayKernels_p.h"

#include <algorithm>
#include <bit>

#include <emmintrin.h>

#ifdef _MSC_VER
#include <intrin.h>
#endif

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

bool HasAvx2() noexcept
{
#ifdef _MSC_VER
    // AVX2 itself, and the operating system's promise to keep the registers.
    int registers[4];
    __cpuid(registers, 1);
    constexpr int SavesRegisters = 1 << 27;
    if ((registers[2] & SavesRegisters) == 0 || (_xgetbv(0) & 6) != 6)
    {
        return false;
    }
    __cpuidex(registers, 7, 0);
    return (registers[1] & (1 << 5)) != 0;
#else
    return __builtin_cpu_supports("avx2") != 0;
#endif
}

} // namespace

const DisplayKernels& PortableDisplayKernels() noexcept
{
    static constexpr DisplayKernels Kernels = {
        LookUp8, ApplyWholeLine<std::uint8_t>, ApplyWholeLine<std::uint16_t>, Line16, LineFloat, CurveFloat, Pack<3>,
        Pack<4>};
    return Kernels;
}

const DisplayKernels& BestDisplayKernels() noexcept
{
    static const bool hasAvx2 = HasAvx2();
    return hasAvx2 ? Avx2DisplayKernels() : PortableDisplayKernels();
}

} // namespace Ardo::Imaging
