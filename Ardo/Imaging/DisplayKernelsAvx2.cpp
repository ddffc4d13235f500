#include "Ardo/Imaging/DisplayKernels_p.h"

#include <array>
#include <cstdint>

#include <immintrin.h>

// Only these functions are compiled for AVX2: an inline function of a header, compiled so in this file, could be the
// copy that the whole library is linked with.
#ifdef __GNUC__
#define KILN_AVX2 __attribute__((target("avx2")))
#else
#define KILN_AVX2
#endif

namespace Ardo::Imaging
{

namespace
{

constexpr std::size_t Bytes = 32; // of a register

KILN_AVX2 inline __m256i Load(const void* in)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(in));
}

KILN_AVX2 inline void Store(void* out, __m256i value)
{
    _mm256_storeu_si256(static_cast<__m256i*>(out), value);
}

/// Entry \p low of the 16 entries of \p table, for each byte.
KILN_AVX2 inline __m256i Part(const std::uint8_t* table, std::size_t part, __m256i low)
{
    const __m128i entries = _mm_loadu_si128(reinterpret_cast<const __m128i*>(table + 16 * part));
    return _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(entries), low);
}

/// Looks 32 bytes up: in all 16 parts by the low half of each byte, then by the bits of the high half, one after
/// another, which of two parts it is.
KILN_AVX2 inline __m256i LookUp(const std::uint8_t* table, __m256i in)
{
    const __m256i low = _mm256_and_si256(in, _mm256_set1_epi8(0x0f));
    const __m256i bit4 = _mm256_slli_epi16(in, 3); // where the choice looks: at the highest bit of a byte
    const __m256i bit5 = _mm256_slli_epi16(in, 2);
    const __m256i bit6 = _mm256_slli_epi16(in, 1);
    __m256i quarters[4];
    for (std::size_t i = 0; i < 4; ++i)
    {
        const __m256i first = _mm256_blendv_epi8(Part(table, 4 * i, low), Part(table, 4 * i + 1, low), bit4);
        const __m256i second = _mm256_blendv_epi8(Part(table, 4 * i + 2, low), Part(table, 4 * i + 3, low), bit4);
        quarters[i] = _mm256_blendv_epi8(first, second, bit5);
    }
    return _mm256_blendv_epi8(_mm256_blendv_epi8(quarters[0], quarters[1], bit6),
                              _mm256_blendv_epi8(quarters[2], quarters[3], bit6), in);
}

KILN_AVX2 void LookUp8(const std::uint8_t* in, std::size_t count, const std::uint8_t* table, std::uint8_t* out)
{
    std::size_t i = 0;
    for (; count - i >= Bytes; i += Bytes)
    {
        Store(out + i, LookUp(table, Load(in + i)));
    }
    PortableDisplayKernels().lookUp8(in + i, count - i, table, out + i);
}

/// A WholeLine in registers.
struct WholeLineRegisters
{
    __m256i black;
    __m256i range;
    __m128i shift;
    __m256i multiplier;
};

KILN_AVX2 inline WholeLineRegisters Registers(WholeLine line)
{
    return {_mm256_set1_epi16(static_cast<short>(line.black)), _mm256_set1_epi16(static_cast<short>(line.range)),
            _mm_cvtsi32_si128(static_cast<int>(line.shift)), _mm256_set1_epi16(static_cast<short>(line.multiplier))};
}

/// Sixteen levels, as 16-bit numbers.
KILN_AVX2 inline __m256i WholeLevels(__m256i values, const WholeLineRegisters& line)
{
    const __m256i distances = _mm256_min_epu16(_mm256_subs_epu16(values, line.black), line.range);
    const __m256i products = _mm256_mulhi_epu16(_mm256_sll_epi16(distances, line.shift), line.multiplier);
    return _mm256_srli_epi16(_mm256_add_epi16(products, _mm256_set1_epi16(64)), 7);
}

KILN_AVX2 void WholeLine8(const std::uint8_t* in, std::size_t count, WholeLine line, std::uint8_t* out)
{
    const WholeLineRegisters registers = Registers(line);
    const __m256i zero = _mm256_setzero_si256();
    std::size_t i = 0;
    for (; count - i >= Bytes; i += Bytes)
    {
        // Unpacking and packing work on each half of a register for itself, so the order comes back.
        const __m256i values = Load(in + i);
        Store(out + i, _mm256_packus_epi16(WholeLevels(_mm256_unpacklo_epi8(values, zero), registers),
                                           WholeLevels(_mm256_unpackhi_epi8(values, zero), registers)));
    }
    PortableDisplayKernels().wholeLine8(in + i, count - i, line, out + i);
}

KILN_AVX2 void WholeLine16(const std::uint16_t* in, std::size_t count, WholeLine line, std::uint8_t* out)
{
    const WholeLineRegisters registers = Registers(line);
    std::size_t i = 0;
    for (; count - i >= Bytes; i += Bytes)
    {
        const __m256i levels =
            _mm256_packus_epi16(WholeLevels(Load(in + i), registers), WholeLevels(Load(in + i + 16), registers));
        constexpr int InOrder = 0xd8; // the second and the third quarter change places
        Store(out + i, _mm256_permute4x64_epi64(levels, InOrder));
    }
    PortableDisplayKernels().wholeLine16(in + i, count - i, line, out + i);
}

/// Positions on a line, from 0 to \p largest; what is not a number becomes 0.
KILN_AVX2 inline __m256 Positions(__m256 values, __m256 black, __m256 scale, __m256 largest)
{
    const __m256 positions = _mm256_mul_ps(_mm256_sub_ps(values, black), scale);
    return _mm256_min_ps(_mm256_max_ps(positions, _mm256_setzero_ps()), largest);
}

/// Eight levels from values, as 32-bit numbers; negative ones stand for 0.
KILN_AVX2 inline __m256i Levels(__m256 values, __m256 black, __m256 scale)
{
    // What is not a number passes the minimum in this order of its operands, and the conversion makes the smallest
    // number of it. The saturation of Narrow is the lower limit.
    const __m256 positions = _mm256_mul_ps(_mm256_sub_ps(values, black), scale);
    return _mm256_cvtps_epi32(_mm256_min_ps(_mm256_set1_ps(255.0f), positions));
}

/// 32 numbers of 32 bits as bytes, in order. Those below 0 or above 255 become 0 or 255.
KILN_AVX2 inline __m256i Narrow(__m256i a, __m256i b, __m256i c, __m256i d)
{
    const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d));
    // The instructions pack each half of a register for itself.
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

KILN_AVX2 inline __m256 ToFloats(const std::uint16_t* in)
{
    const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    return _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(words));
}

KILN_AVX2 inline __m256 ToFloats(const float* in)
{
    return _mm256_loadu_ps(in);
}

/// A LevelLine in registers.
struct LineRegisters
{
    __m256 black;
    __m256 scale;
};

/// The levels of 32 samples.
template <typename Sample>
KILN_AVX2 inline __m256i LineLevels(const Sample* in, const LineRegisters& line)
{
    return Narrow(Levels(ToFloats(in), line.black, line.scale), Levels(ToFloats(in + 8), line.black, line.scale),
                  Levels(ToFloats(in + 16), line.black, line.scale), Levels(ToFloats(in + 24), line.black, line.scale));
}

/// \tparam Portable the kernel for the samples at the end, which fill no register.
template <auto Portable, typename Sample>
KILN_AVX2 void Line(const Sample* in, std::size_t count, LevelLine line, std::uint8_t* out)
{
    const LineRegisters registers = {_mm256_set1_ps(line.black), _mm256_set1_ps(line.scale)};
    std::size_t i = 0;
    for (; count - i >= Bytes; i += Bytes)
    {
        Store(out + i, LineLevels(in + i, registers));
    }
    (PortableDisplayKernels().*Portable)(in + i, count - i, line, out + i);
}

/// As Line. A large image waits for the memory, so the loop moves as little as it can: levels are written past the
/// cache, which would read their lines first, and samples are fetched two pages early, because the processor by itself
/// fetches ahead only within a page.
KILN_AVX2 void LineFloat(const float* in, std::size_t count, LevelLine line, std::uint8_t* out)
{
    constexpr std::size_t Large = std::size_t{4} << 20; // with fewer levels the cache may hold them for their reader
    constexpr std::size_t Ahead = 2048;
    constexpr std::size_t CacheLine = 16; // samples
    std::size_t i = 0;
    if (count >= Large)
    {
        i = (Bytes - reinterpret_cast<std::uintptr_t>(out) % Bytes) % Bytes;
        PortableDisplayKernels().lineFloat(in, i, line, out);
        const LineRegisters registers = {_mm256_set1_ps(line.black), _mm256_set1_ps(line.scale)};
        for (; count - i >= Ahead + Bytes; i += Bytes)
        {
            _mm_prefetch(reinterpret_cast<const char*>(in + i + Ahead), _MM_HINT_T0);
            _mm_prefetch(reinterpret_cast<const char*>(in + i + Ahead + CacheLine), _MM_HINT_T0);
            _mm256_stream_si256(reinterpret_cast<__m256i*>(out + i), LineLevels(in + i, registers));
        }
        _mm_sfence(); // such stores have no order with those that tell another thread of the levels
    }
    Line<&DisplayKernels::lineFloat>(in + i, count - i, line, out + i);
}

KILN_AVX2 void CurveFloat(const float* in, std::size_t count, const LevelCurve& curve, std::uint8_t* out)
{
    constexpr std::size_t Lanes = 8;
    const __m256 black = _mm256_set1_ps(curve.line.black);
    const __m256 scale = _mm256_set1_ps(curve.line.scale);
    const __m256i first = _mm256_set1_epi32(static_cast<int>(LevelCurve::First));
    alignas(Bytes) std::array<std::uint32_t, Lanes> entries;
    std::size_t i = 0;
    for (; count - i >= Lanes; i += Lanes)
    {
        const __m256 positions = Positions(_mm256_loadu_ps(in + i), black, scale, _mm256_set1_ps(1.0f));
        const __m256i leading = _mm256_srli_epi32(_mm256_castps_si256(positions), LevelCurve::Shift);
        Store(entries.data(), _mm256_sub_epi32(_mm256_max_epi32(leading, first), first));
        for (std::size_t lane = 0; lane < Lanes; ++lane)
        {
            out[i + lane] = curve.levels[entries[lane]];
        }
    }
    PortableDisplayKernels().curveFloat(in + i, count - i, curve, out + i);
}

KILN_AVX2 void PackRgb(const std::uint8_t* in, std::size_t count, std::uint32_t* out)
{
    constexpr std::size_t Lanes = 8;
    const __m256i opaque = _mm256_set1_epi32(static_cast<int>(0xff000000u));
    const __m256i order = _mm256_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1, //
                                           2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
    std::size_t i = 0;
    // The second load of 16 bytes ends 4 bytes behind the eighth pixel, so two pixels more must follow.
    for (; count - i >= Lanes + 2; i += Lanes)
    {
        const std::uint8_t* const pixel = in + 3 * i;
        const __m256i samples =
            _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pixel))),
                                    _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixel + 12)), 1);
        Store(out + i, _mm256_or_si256(_mm256_shuffle_epi8(samples, order), opaque));
    }
    PortableDisplayKernels().packRgb(in + 3 * i, count - i, out + i);
}

KILN_AVX2 void PackRgba(const std::uint8_t* in, std::size_t count, std::uint32_t* out)
{
    constexpr std::size_t Lanes = 8;
    const __m256i opaque = _mm256_set1_epi32(static_cast<int>(0xff000000u));
    const __m256i order = _mm256_setr_epi8(2, 1, 0, -1, 6, 5, 4, -1, 10, 9, 8, -1, 14, 13, 12, -1, //
                                           2, 1, 0, -1, 6, 5, 4, -1, 10, 9, 8, -1, 14, 13, 12, -1);
    std::size_t i = 0;
    for (; count - i >= Lanes; i += Lanes)
    {
        Store(out + i, _mm256_or_si256(_mm256_shuffle_epi8(Load(in + 4 * i), order), opaque));
    }
    PortableDisplayKernels().packRgba(in + 4 * i, count - i, out + i);
}

} // namespace

const DisplayKernels& Avx2DisplayKernels() noexcept
{
    static constexpr DisplayKernels Kernels = {LookUp8,   WholeLine8, WholeLine16, Line<&DisplayKernels::line16>,
                                               LineFloat, CurveFloat, PackRgb,     PackRgba};
    return Kernels;
}

} // namespace Ardo::Imaging
