#include "Ardo/Kiln/ImageIO/TiffSamples_p.h"

#include "Ardo/Kiln/ImageIO/ImageDecoders_p.h"
#include "Ardo/Kiln/ImageIO/TiffSampleFormat.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <tuple>
#include <type_traits>

#include <tiff.h>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Imaging::PixelKind;

std::string PhotometricText(std::uint16_t photometric)
{
    switch (photometric)
    {
    case PHOTOMETRIC_MINISWHITE:
        return "grey with 0 as white";
    case PHOTOMETRIC_MINISBLACK:
        return "grey";
    case PHOTOMETRIC_RGB:
        return "RGB";
    case PHOTOMETRIC_PALETTE:
        return "palette";
    case PHOTOMETRIC_MASK:
        return "transparency mask";
    case PHOTOMETRIC_SEPARATED:
        return "CMYK";
    case PHOTOMETRIC_YCBCR:
        return "YCbCr";
    case PHOTOMETRIC_CIELAB:
    case PHOTOMETRIC_ICCLAB:
    case PHOTOMETRIC_ITULAB:
        return "CIE L*a*b*";
    default:
        return "photometric interpretation " + std::to_string(photometric);
    }
}

std::string FormatText(std::uint16_t format)
{
    switch (format)
    {
    case SAMPLEFORMAT_INT:
        return " signed";
    case SAMPLEFORMAT_IEEEFP:
        return " float";
    case SAMPLEFORMAT_COMPLEXINT:
    case SAMPLEFORMAT_COMPLEXIEEEFP:
        return " complex";
    default:
        return "";
    }
}

/// Floats of \p count samples.
/// \throws ReadImageException if one of them does not fit.
template <typename Sample>
void ToFloat(const unsigned char* samples, std::size_t count, float* target)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        Sample sample;
        std::memcpy(&sample, samples + i * sizeof sample, sizeof sample);
        const auto value = static_cast<float>(sample);
        if constexpr (std::is_same_v<Sample, double>)
        {
            if (std::isinf(value) && !std::isinf(sample))
            {
                RefuseKind("a 64 bit float beyond the range of 32 bit floats");
            }
        }
        else if (sizeof(Sample) == 4 && static_cast<double>(value) != static_cast<double>(sample))
        {
            RefuseKind("32 bit integers that 32 bit floats do not hold, such as " + std::to_string(sample));
        }
        target[i] = value;
    }
}

/// \p colour as it was before it was multiplied with \p alpha.
unsigned char Divided(unsigned char colour, unsigned char alpha)
{
    return alpha == 0 ? std::uint8_t{0} : static_cast<unsigned char>(std::min(255, (colour * 255 + alpha / 2) / alpha));
}

bool IsGrey(const TiffConversion::Palette& palette)
{
    return std::ranges::all_of(palette,
                               [](const auto& colour) { return colour[0] == colour[1] && colour[1] == colour[2]; });
}

} // namespace

std::string TiffSamples::Description() const
{
    return "a TIFF image, " + PhotometricText(photometric) + ", with " + std::to_string(count) +
           (count == 1 ? " sample" : " samples") + " a pixel of " + std::to_string(bits) + " bits" + FormatText(format);
}

void Unpack(const TiffSamples& samples, const unsigned char* row, std::size_t count, unsigned char* target,
            std::size_t step)
{
    const std::size_t size = samples.UnpackedSize();
    if (samples.bits % 8 == 0)
    {
        if (step == 1)
        {
            std::memcpy(target, row, count * size);
            return;
        }
        for (std::size_t i = 0; i < count; ++i)
        {
            std::memcpy(target + i * step * size, row + i * size, size);
        }
        return;
    }
    std::uint32_t bits = 0; // the bits read and not yet used, in the lower part
    std::uint16_t bitCount = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        for (; bitCount < samples.bits; bitCount = static_cast<std::uint16_t>(bitCount + 8))
        {
            bits = bits << 8 | *row++;
        }
        bitCount = static_cast<std::uint16_t>(bitCount - samples.bits);
        const std::uint32_t value = bits >> bitCount & ((1u << samples.bits) - 1);
        const auto wide = static_cast<std::uint16_t>(value);
        const auto narrow = static_cast<std::uint8_t>(value);
        std::memcpy(target + i * step * size, size == 1 ? static_cast<const void*>(&narrow) : &wide, size);
    }
}

TiffConversion::TiffConversion(const TiffSamples& samples) : m_samples(samples)
{
    samples.count == 1 ? ChooseGrey() : ChooseColours();
}

void TiffConversion::ChooseGrey()
{
    const auto [bits, photometric, format] = std::tuple(m_samples.bits, m_samples.photometric, m_samples.format);
    const bool isUnsigned = format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID;
    const bool isWhiteZero = photometric == PHOTOMETRIC_MINISWHITE;
    if (photometric == PHOTOMETRIC_PALETTE && bits <= 8 && isUnsigned)
    {
        m_step = Step::Colours;
        return;
    }
    if ((photometric == PHOTOMETRIC_MINISBLACK || isWhiteZero) && isUnsigned && bits <= 16)
    {
        m_kind = bits <= 8 ? PixelKind::UInt8 : PixelKind::UInt16;
        m_step = bits < 8 ? Step::Spread : isWhiteZero ? Step::Invert : Step::None;
        return;
    }
    const bool isInteger =
        (isUnsigned && bits == 32) || (format == SAMPLEFORMAT_INT && (bits == 8 || bits == 16 || bits == 32));
    const bool isFloat = format == SAMPLEFORMAT_IEEEFP && (bits == 32 || bits == 64);
    if (photometric == PHOTOMETRIC_MINISBLACK && (isInteger || isFloat))
    {
        m_kind = PixelKind::Float32;
        m_step = isFloat && bits == 32 ? Step::None : Step::Float;
        return;
    }
    RefuseKind(m_samples.Description());
}

void TiffConversion::ChooseColours()
{
    const bool isByte =
        m_samples.bits == 8 && (m_samples.format == SAMPLEFORMAT_UINT || m_samples.format == SAMPLEFORMAT_VOID);
    if (isByte && m_samples.photometric == PHOTOMETRIC_RGB && m_samples.count == 3)
    {
        m_kind = PixelKind::Rgb8;
    }
    else if (isByte && m_samples.photometric == PHOTOMETRIC_RGB && m_samples.count == 4)
    {
        m_kind = PixelKind::Rgba8;
        m_step = m_samples.isPremultiplied ? Step::Unpremultiply : Step::None;
    }
    else if (isByte && m_samples.photometric == PHOTOMETRIC_MINISBLACK && m_samples.count == 2)
    {
        m_kind = PixelKind::Rgba8;
        m_step = Step::GreyAlpha;
    }
    else
    {
        RefuseKind(m_samples.Description());
    }
}

std::unique_ptr<Imaging::const_raw_image> TiffConversion::Convert(const unsigned char* unpacked,
                                                                  const Palette& palette) const
{
    const std::size_t count = std::size_t{m_samples.width} * m_samples.height;
    const bool isColourful = m_step == Step::Colours && !IsGrey(palette);
    const NewImage image(m_samples.width, m_samples.height, isColourful ? PixelKind::Rgb8 : m_kind);
    unsigned char* const pixels = image.bytes;
    const auto largest = static_cast<std::uint16_t>((1u << std::min<std::uint16_t>(m_samples.bits, 16)) - 1);
    const std::uint16_t turn = m_samples.photometric == PHOTOMETRIC_MINISWHITE ? largest : std::uint16_t{0};
    switch (m_step)
    {
    case Step::None:
        std::memcpy(pixels, unpacked, image.rowSize * m_samples.height);
        break;
    case Step::Spread:
        for (std::size_t i = 0; i < count; ++i)
        {
            pixels[i] = static_cast<unsigned char>((unpacked[i] ^ turn) * 255 / largest);
        }
        break;
    case Step::Invert:
        for (std::size_t i = 0; i < count; ++i)
        {
            std::uint16_t value = unpacked[i];
            if (m_kind == PixelKind::UInt8)
            {
                pixels[i] = static_cast<unsigned char>(value ^ turn);
                continue;
            }
            std::memcpy(&value, unpacked + 2 * i, sizeof value);
            value ^= turn;
            std::memcpy(pixels + 2 * i, &value, sizeof value);
        }
        break;
    case Step::Colours:
        for (std::size_t i = 0; i < count; ++i)
        {
            std::memcpy(pixels + (isColourful ? 3 * i : i), palette[unpacked[i]].data(), isColourful ? 3 : 1);
        }
        break;
    case Step::GreyAlpha:
        for (std::size_t i = 0; i < count; ++i)
        {
            const unsigned char alpha = unpacked[2 * i + 1];
            const unsigned char grey = m_samples.isPremultiplied ? Divided(unpacked[2 * i], alpha) : unpacked[2 * i];
            const unsigned char pixel[] = {grey, grey, grey, alpha};
            std::memcpy(pixels + 4 * i, pixel, sizeof pixel);
        }
        break;
    case Step::Unpremultiply:
        for (std::size_t i = 0; i < 4 * count; ++i)
        {
            pixels[i] = i % 4 == 3 ? unpacked[i] : Divided(unpacked[i], unpacked[i | 3]);
        }
        break;
    case Step::Float:
        auto* const floats = reinterpret_cast<float*>(pixels);
        const bool isSigned = m_samples.format == SAMPLEFORMAT_INT;
        m_samples.bits == 8    ? ToFloat<std::int8_t>(unpacked, count, floats)
        : m_samples.bits == 16 ? ToFloat<std::int16_t>(unpacked, count, floats)
        : m_samples.bits == 64 ? ToFloat<double>(unpacked, count, floats)
        : isSigned             ? ToFloat<std::int32_t>(unpacked, count, floats)
                               : ToFloat<std::uint32_t>(unpacked, count, floats);
        break;
    }
    return image.Finish();
}

} // namespace Ardo::Kiln::ImageIO
