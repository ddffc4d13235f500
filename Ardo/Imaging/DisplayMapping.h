#pragma once

#include "Ardo/Imaging/ColourTable.h"
#include "Ardo/Imaging/PixelKind.h"
#include "Ardo/KilnExport.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace Ardo::Imaging
{

/// What one pixel of a display is made of.
enum class DisplayFormat : std::uint8_t
{
    Grey8, ///< One byte, from 0 (black) to 255 (white).
    Rgb32, ///< 0xFFRRGGBB as one 32-bit number of the machine, the layout of QImage::Format_RGB32.
};

/// The size of one pixel of \p format in bytes.
[[nodiscard]] constexpr std::size_t BytesPerPixel(DisplayFormat format) noexcept
{
    return format == DisplayFormat::Grey8 ? 1 : 4;
}

/// How sample values become visible. A value v has the position t = (v - black) / (white - black), limited to 0 to 1,
/// and the level 255 t^(1 / gamma), rounded to the nearest whole number. The colour of a level is that of the table.
///
/// Each sample of a pixel of several samples is mapped for itself. The level is its brightness; the table does not
/// apply. Pixels with an opacity are then shown in front of black.
struct DisplaySettings
{
    /// The value of level 0, in the unit of the samples. Finite, and within the range of float.
    double black = 0.0;
    /// The value of level 255, in the same unit, with the same limits. Less than black: bright and dark are exchanged.
    /// Equal to black: greater values have level 255, all others level 0.
    double white = 255.0;
    /// From 0.1 to 10. 1 is a straight line; more makes the middle brighter.
    double gamma = 1.0;
    /// The colours of the levels.
    ColourTable colours;
    /// The colour of values below both black and white. Not given: that of their level.
    std::optional<ColourTable::Colour> below;
    /// The colour of values above both black and white. Not given: that of their level. A pixel of several samples
    /// has it if one of them is above, and the colour of \c below if all of them are below.
    std::optional<ColourTable::Colour> above;
    /// The colour of what is not a number. Not given: that of level 0.
    std::optional<ColourTable::Colour> notANumber;
};

/// DisplaySettings prepared for one kind of pixels: lookup tables and what else the inner loops need.
///
/// Making one takes up to a few milliseconds, for 16-bit and float pixels with a gamma other than 1; otherwise some
/// microseconds. Mapping a 16-bit image of 4096 x 4096 takes about as long as copying it.
///
/// Accuracy: levels of 8-bit and, with another gamma than 1, of 16-bit samples are exact. Otherwise a level may
/// be the neighbour of the exact one where that is within 0.02 (16 bit) or 1e-4 (float) of the middle between two.
/// With another gamma than 1, positions of float samples are rounded to 11 bits behind the leading one, which is
/// 0.07 / gamma levels at most, and positions below 2^-40 are 0.
///
/// A value type. Thread-safety: any number of threads may call the const methods.
class KILN_EXPORT DisplayMapping
{
public:
    /// \throws std::invalid_argument if a setting is out of its range, or if \p format is Grey8 and the pixels, the
    ///         table or one of the other colours are not grey.
    DisplayMapping(PixelKind kind, const DisplaySettings& settings, DisplayFormat format = DisplayFormat::Rgb32);

    /// The kind of pixels that it maps.
    [[nodiscard]] PixelKind Kind() const noexcept { return m_kind; }

    /// The format of its results.
    [[nodiscard]] DisplayFormat Format() const noexcept { return m_format; }

    /// Maps \p count pixels of Kind() to pixels of Format().
    /// \param pixels aligned as their samples are.
    /// \param out    at least BytesPerPixel(Format()) x \p count bytes, aligned as a pixel is; no part of \p pixels.
    void Map(const void* pixels, std::size_t count, void* out) const noexcept;

private:
    /// Pixels that are mapped at once: intermediate results stay in the processor's cache.
    static constexpr std::size_t BlockSize = 4096;

    void PrepareCurve();
    void PrepareColours();
    double LevelOf(double value) const noexcept;
    std::optional<ColourTable::Colour> MarkOf(double value) const noexcept;
    void MapBytes(const std::uint8_t* bytes, std::size_t count, void* out) const noexcept;
    void ToLevels(const std::uint16_t* pixels, std::size_t count, std::uint8_t* levels) const noexcept;
    void ToLevels(const float* pixels, std::size_t count, std::uint8_t* levels) const noexcept;
    template <typename Sample>
    void MapSamples(const void* pixels, std::size_t count, void* out) const noexcept;
    template <std::size_t Samples>
    void MapColours(const std::uint8_t* pixels, std::size_t count, std::uint32_t* out) const noexcept;

    PixelKind m_kind;
    DisplayFormat m_format;
    DisplaySettings m_settings;
    bool m_hasMarks;                            ///< True if one of the colours outside the range is given.
    bool m_isPlain = true;                      ///< True if MapBytes would change nothing: m_bytes is the identity.
    std::array<std::uint8_t, 256> m_bytes{};    ///< 8-bit samples to levels; 8-bit pixels, or levels, to Grey8.
    std::array<std::uint32_t, 256> m_colours{}; ///< 8-bit pixels, or levels, to Rgb32.
    bool m_isWholeLine = false; ///< True if WholeLine gives the levels of 16-bit samples, or m_bytes of 8-bit ones.
    std::vector<std::uint8_t> m_curve; ///< Levels of 16-bit samples, or those of LevelCurve; empty for a line.
};

} // namespace Ardo::Imaging
