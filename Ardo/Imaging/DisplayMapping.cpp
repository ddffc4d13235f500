#include "Ardo/Imaging/DisplayMapping.h"

#include "Ardo/Imaging/DisplayKernels_p.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace Ardo::Imaging
{

namespace
{

using Colour = ColourTable::Colour;

constexpr double White = 255.0; // the largest level

bool IsGrey(const std::optional<Colour>& colour)
{
    return !colour || (colour->red == colour->green && colour->green == colour->blue);
}

constexpr std::uint32_t Pack(const Colour& colour)
{
    return 0xff000000u | static_cast<std::uint32_t>(colour.red) << 16 | static_cast<std::uint32_t>(colour.green) << 8 |
           colour.blue;
}

void Put(const Colour& colour, std::size_t index, void* out, DisplayFormat format)
{
    if (format == DisplayFormat::Grey8)
    {
        static_cast<std::uint8_t*>(out)[index] = colour.red;
    }
    else
    {
        static_cast<std::uint32_t*>(out)[index] = Pack(colour);
    }
}

bool IsColoured(PixelKind kind)
{
    return kind == PixelKind::Rgb8 || kind == PixelKind::Rgba8;
}

void Check(PixelKind kind, const DisplaySettings& settings, DisplayFormat format)
{
    constexpr double MaxFloat = std::numeric_limits<float>::max();
    const auto isInRange = [](double value) { return std::abs(value) <= MaxFloat; };
    if (!isInRange(settings.black) || !isInRange(settings.white))
    {
        throw std::invalid_argument("DisplayMapping: black or white is not a finite number in the range of float");
    }
    if (!(settings.gamma >= 0.1 && settings.gamma <= 10.0))
    {
        throw std::invalid_argument("DisplayMapping: gamma is not between 0.1 and 10");
    }
    if (format == DisplayFormat::Grey8 && (IsColoured(kind) || !settings.colours.IsGrey() || !IsGrey(settings.below) ||
                                           !IsGrey(settings.above) || !IsGrey(settings.notANumber)))
    {
        throw std::invalid_argument("DisplayMapping: colours in a grey format");
    }
}

/// Darkens each pixel as far as it is transparent.
void ShowInFrontOfBlack(const std::uint8_t* rgba, std::size_t count, std::uint32_t* colours)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::uint32_t alpha = rgba[4 * i + 3];
        if (alpha == 255)
        {
            continue;
        }
        const auto dim = [alpha, colour = colours[i]](unsigned shift)
        { return ((colour >> shift & 0xffu) * alpha + 127) / 255 << shift; };
        colours[i] = 0xff000000u | dim(16) | dim(8) | dim(0);
    }
}

/// A table of 65,536 entries.
void LookUp(const std::uint16_t* in, std::size_t count, const std::uint8_t* table, std::uint8_t* out)
{
    // One store for eight results, put together from halves of halves: with a store for each, or with results that wait
    // for the one before, this takes up to twice as long, depending on the compiler's options.
    static_assert(std::endian::native == std::endian::little);
    const auto two = [table](const std::uint16_t* values)
    { return table[values[0]] | static_cast<std::uint32_t>(table[values[1]]) << 8; };
    const auto four = [two](const std::uint16_t* values) { return two(values) | two(values + 2) << 16; };
    std::size_t i = 0;
    for (; count - i >= sizeof(std::uint64_t); i += sizeof(std::uint64_t))
    {
        const std::uint64_t levels = four(in + i) | std::uint64_t{four(in + i + 4)} << 32;
        std::memcpy(out + i, &levels, sizeof levels);
    }
    std::transform(in + i, in + count, out + i, [table](std::uint16_t value) { return table[value]; });
}

/// True if both ends of the range are samples of whole numbers up to \p largest, the upper one white.
bool HasWholeEnds(const DisplaySettings& settings, double largest)
{
    const auto isSample = [largest](double value)
    { return value >= 0.0 && value <= largest && value == std::floor(value); };
    return isSample(settings.black) && isSample(settings.white) && settings.black < settings.white;
}

WholeLine LineOfWholes(const DisplaySettings& settings)
{
    return WholeLine::Between(static_cast<std::uint16_t>(settings.black), static_cast<std::uint16_t>(settings.white));
}

/// Positions of values: \p largest for white.
LevelLine Line(const DisplaySettings& settings, double largest)
{
    // An empty range has an infinite scale: greater values are white, and 0 x infinity counts as 0.
    return {static_cast<float>(settings.black), static_cast<float>(largest / (settings.white - settings.black))};
}

} // namespace

DisplayMapping::DisplayMapping(PixelKind kind, const DisplaySettings& settings, DisplayFormat format)
    : m_kind(kind),
      m_format(format),
      m_settings(settings),
      m_hasMarks(settings.below || settings.above || (settings.notANumber && kind == PixelKind::Float32))
{
    Check(kind, settings, format);
    PrepareCurve();
    PrepareColours();
}

double DisplayMapping::LevelOf(double value) const noexcept
{
    const double range = m_settings.white - m_settings.black;
    const double distance = value - m_settings.black;
    const double position = range == 0.0 ? (distance > 0.0 ? 1.0 : 0.0) : std::clamp(distance / range, 0.0, 1.0);
    return std::nearbyint(White * (m_settings.gamma == 1.0 ? position : std::pow(position, 1.0 / m_settings.gamma)));
}

std::optional<Colour> DisplayMapping::MarkOf(double value) const noexcept
{
    const auto [low, high] = std::minmax(m_settings.black, m_settings.white);
    return std::isnan(value) ? m_settings.notANumber
           : value > high    ? m_settings.above
           : value < low     ? m_settings.below
                             : std::nullopt;
}

void DisplayMapping::PrepareCurve()
{
    if (m_settings.gamma == 1.0 || (m_kind != PixelKind::UInt16 && m_kind != PixelKind::Float32))
    {
        return;
    }
    if (m_kind == PixelKind::UInt16)
    {
        m_curve.resize(std::size_t{std::numeric_limits<std::uint16_t>::max()} + 1);
        for (std::size_t i = 0; i < m_curve.size(); ++i)
        {
            m_curve[i] = static_cast<std::uint8_t>(LevelOf(static_cast<double>(i)));
        }
        return;
    }
    m_curve.resize(LevelCurve::Size);
    for (std::size_t i = 1; i < m_curve.size(); ++i) // the first one stays 0
    {
        // The middle of the positions that have these leading bits; the last entry has only one.
        const std::uint32_t leading = LevelCurve::First + static_cast<std::uint32_t>(i);
        const bool isLast = i + 1 == m_curve.size();
        const std::uint32_t bits = leading << LevelCurve::Shift | (isLast ? 0 : 1u << (LevelCurve::Shift - 1));
        const auto position = static_cast<double>(std::bit_cast<float>(bits));
        m_curve[i] = static_cast<std::uint8_t>(std::nearbyint(White * std::pow(position, 1.0 / m_settings.gamma)));
    }
}

void DisplayMapping::PrepareColours()
{
    for (std::size_t i = 0; i < m_bytes.size(); ++i)
    {
        const auto value = static_cast<double>(i);
        if (m_kind == PixelKind::UInt8)
        {
            // The whole way from the sample to the colour.
            const auto level = static_cast<std::size_t>(LevelOf(value));
            const Colour colour = MarkOf(value).value_or(m_settings.colours[level]);
            m_bytes[i] = colour.red;
            m_colours[i] = Pack(colour);
        }
        else
        {
            m_bytes[i] = IsColoured(m_kind) ? static_cast<std::uint8_t>(LevelOf(value)) : m_settings.colours[i].red;
            m_colours[i] = Pack(m_settings.colours[i]);
        }
        m_isPlain = m_isPlain && m_bytes[i] == i;
    }
    if (m_settings.gamma == 1.0 && HasWholeEnds(m_settings, m_kind == PixelKind::UInt16 ? 65'535.0 : White))
    {
        const WholeLine line = LineOfWholes(m_settings);
        m_isWholeLine = m_kind == PixelKind::UInt16;
        if (m_kind == PixelKind::UInt8)
        {
            // Calculating is faster than looking up. It may replace only a table that it agrees with.
            m_isWholeLine = true;
            for (std::uint32_t i = 0; i < m_bytes.size(); ++i)
            {
                m_isWholeLine = m_isWholeLine && line.LevelOf(i) == m_bytes[i];
            }
        }
    }
}

void DisplayMapping::Map(const void* pixels, std::size_t count, void* out) const noexcept
{
    const auto* in = static_cast<const std::uint8_t*>(pixels);
    auto* to = static_cast<std::uint8_t*>(out);
    // Without intermediate results all pixels are one block: a loop may treat a large one in another way.
    const bool isDirect = m_format == DisplayFormat::Grey8 && m_isPlain && !m_hasMarks;
    const std::size_t largest = isDirect ? count : BlockSize;
    for (std::size_t size = 0; count > 0; count -= size)
    {
        size = std::min(count, largest);
        switch (m_kind)
        {
        case PixelKind::UInt8:
            MapBytes(in, size, to);
            break;
        case PixelKind::UInt16:
            MapSamples<std::uint16_t>(in, size, to);
            break;
        case PixelKind::Float32:
            MapSamples<float>(in, size, to);
            break;
        case PixelKind::Rgb8:
            MapColours<3>(in, size, static_cast<std::uint32_t*>(static_cast<void*>(to)));
            break;
        case PixelKind::Rgba8:
            MapColours<4>(in, size, static_cast<std::uint32_t*>(static_cast<void*>(to)));
            break;
        }
        in += size * BytesPerPixel(m_kind);
        to += size * BytesPerPixel(m_format);
    }
}

void DisplayMapping::MapBytes(const std::uint8_t* bytes, std::size_t count, void* out) const noexcept
{
    if (m_format == DisplayFormat::Grey8 && m_kind == PixelKind::UInt8 && m_isWholeLine)
    {
        BestDisplayKernels().wholeLine8(bytes, count, LineOfWholes(m_settings), static_cast<std::uint8_t*>(out));
        return;
    }
    if (m_format == DisplayFormat::Grey8)
    {
        BestDisplayKernels().lookUp8(bytes, count, m_bytes.data(), static_cast<std::uint8_t*>(out));
        return;
    }
    std::transform(bytes, bytes + count, static_cast<std::uint32_t*>(out),
                   [colours = m_colours.data()](std::uint8_t value) { return colours[value]; });
}

void DisplayMapping::ToLevels(const std::uint16_t* pixels, std::size_t count, std::uint8_t* levels) const noexcept
{
    if (m_isWholeLine)
    {
        BestDisplayKernels().wholeLine16(pixels, count, LineOfWholes(m_settings), levels);
        return;
    }
    if (m_curve.empty())
    {
        BestDisplayKernels().line16(pixels, count, Line(m_settings, White), levels);
        return;
    }
    LookUp(pixels, count, m_curve.data(), levels);
}

void DisplayMapping::ToLevels(const float* pixels, std::size_t count, std::uint8_t* levels) const noexcept
{
    if (m_curve.empty())
    {
        BestDisplayKernels().lineFloat(pixels, count, Line(m_settings, White), levels);
        return;
    }
    BestDisplayKernels().curveFloat(pixels, count, {Line(m_settings, 1.0), m_curve.data()}, levels);
}

template <typename Sample>
void DisplayMapping::MapSamples(const void* pixels, std::size_t count, void* out) const noexcept
{
    const auto* const samples = static_cast<const Sample*>(pixels);
    std::array<std::uint8_t, BlockSize> levels;
    if (m_format == DisplayFormat::Grey8 && m_isPlain)
    {
        ToLevels(samples, count, static_cast<std::uint8_t*>(out));
    }
    else
    {
        ToLevels(samples, count, levels.data());
        MapBytes(levels.data(), count, out);
    }
    if (!m_hasMarks)
    {
        return;
    }
    const auto [low, high] = std::minmax(m_settings.black, m_settings.white);
    const auto isWithin = [low = low, high = high](Sample value) { return value >= low && value <= high; };
    if (!std::all_of(samples, samples + count, isWithin))
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            if (const auto mark = MarkOf(static_cast<double>(samples[i])))
            {
                Put(*mark, i, out, m_format);
            }
        }
    }
}

template <std::size_t Samples>
void DisplayMapping::MapColours(const std::uint8_t* pixels, std::size_t count, std::uint32_t* out) const noexcept
{
    const std::uint8_t* levels = pixels;
    std::array<std::uint8_t, Samples * BlockSize> block;
    if (!m_isPlain)
    {
        BestDisplayKernels().lookUp8(pixels, Samples * count, m_bytes.data(), block.data());
        levels = block.data();
    }
    if constexpr (Samples == 3)
    {
        BestDisplayKernels().packRgb(levels, count, out);
    }
    else
    {
        BestDisplayKernels().packRgba(levels, count, out);
        ShowInFrontOfBlack(pixels, count, out);
    }
    for (std::size_t i = 0; m_hasMarks && i < count; ++i)
    {
        const std::uint8_t* const pixel = pixels + Samples * i;
        if (const auto mark = MarkOf(std::max({pixel[0], pixel[1], pixel[2]})))
        {
            out[i] = Pack(*mark);
        }
    }
}

} // namespace Ardo::Imaging
