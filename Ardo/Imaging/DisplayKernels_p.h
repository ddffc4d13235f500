#pragma once

#include "Ardo/KilnExport.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Ardo::Imaging
{

/// A straight line from sample values to levels.
struct LevelLine
{
    float black; ///< The value of level 0; finite.
    float scale; ///< Levels a unit of the sample; infinite for an empty range.
};

/// A straight line between two whole numbers, in whole numbers of 16 bits. A level is rounded correctly unless it is
/// within 0.02 of the middle between two.
struct WholeLine
{
    std::uint16_t black;      ///< The value of level 0.
    std::uint16_t range;      ///< Greater than 0: black + range has level 255.
    unsigned shift;           ///< range << shift has all 16 bits.
    std::uint16_t multiplier; ///< From shifted distances to levels, in 2^-23.

    /// \param low   less than \p high.
    static constexpr WholeLine Between(std::uint16_t low, std::uint16_t high) noexcept
    {
        const auto range = static_cast<std::uint16_t>(high - low);
        const auto shift = static_cast<unsigned>(std::countl_zero(range));
        const std::uint32_t shifted = std::uint32_t{range} << shift;
        constexpr std::uint64_t White = std::uint64_t{255} << 23;
        return {low, range, shift, static_cast<std::uint16_t>((White + shifted / 2) / shifted)};
    }

    [[nodiscard]] constexpr std::uint8_t LevelOf(std::uint32_t value) const noexcept
    {
        const std::uint32_t above = value > black ? value - black : 0;
        const std::uint32_t distance = (above < range ? above : range) << shift;
        return static_cast<std::uint8_t>(((distance * multiplier >> 16) + 64) >> 7);
    }
};

/// A curve from the position of a value between black and white to levels. The position is looked up by the leading
/// bits of its float, so the steps are finer where the curve is steeper.
struct LevelCurve
{
    static constexpr unsigned Shift = 12;                         ///< Bits of a float that do not count.
    static constexpr std::uint32_t First = (127u - 40u) << 11;    ///< The leading bits of 2^-40, the first entry.
    static constexpr std::size_t Size = (127u << 11) - First + 1; ///< Entries, the last one for 1.

    LevelLine line;             ///< From values to positions 0 to 1.
    const std::uint8_t* levels; ///< Size entries.
};

/// The inner loops of the display. Each processes \c count elements; input and output do not overlap.
struct DisplayKernels
{
    /// A table of 256 entries.
    void (*lookUp8)(const std::uint8_t* in, std::size_t count, const std::uint8_t* table, std::uint8_t* out);
    /// WholeLine::LevelOf; the line is within 0 to 255.
    void (*wholeLine8)(const std::uint8_t* in, std::size_t count, WholeLine line, std::uint8_t* out);
    /// WholeLine::LevelOf.
    void (*wholeLine16)(const std::uint16_t* in, std::size_t count, WholeLine line, std::uint8_t* out);
    /// The level nearest to (value - black) * scale, a half to the even one, within 0 to 255.
    void (*line16)(const std::uint16_t* in, std::size_t count, LevelLine line, std::uint8_t* out);
    /// The same; level 0 for what is not a number.
    void (*lineFloat)(const float* in, std::size_t count, LevelLine line, std::uint8_t* out);
    /// The same by a curve.
    void (*curveFloat)(const float* in, std::size_t count, const LevelCurve& curve, std::uint8_t* out);
    /// Red, green and blue bytes to 0xFFRRGGBB.
    void (*packRgb)(const std::uint8_t* in, std::size_t count, std::uint32_t* out);
    /// Red, green, blue and other bytes to 0xFFRRGGBB.
    void (*packRgba)(const std::uint8_t* in, std::size_t count, std::uint32_t* out);
};

/// Loops for any processor that the library supports.
const DisplayKernels& PortableDisplayKernels() noexcept;

/// The loops for processors with AVX2.
const DisplayKernels& Avx2DisplayKernels() noexcept;

/// The loops for processors with AVX-512 and its instructions for bytes (VBMI), which have AVX2, too.
const DisplayKernels& Avx512DisplayKernels() noexcept;

/// All loops that this processor can run, the fastest ones last. Their results are the same.
KILN_EXPORT_FOR_TESTS std::span<const DisplayKernels* const> UsableDisplayKernels() noexcept;

/// The last of UsableDisplayKernels().
const DisplayKernels& BestDisplayKernels() noexcept;

} // namespace Ardo::Imaging
