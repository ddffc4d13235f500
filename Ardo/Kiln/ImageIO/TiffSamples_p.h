#pragma once

#include "Ardo/Imaging/const_raw_image.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Ardo::Kiln::ImageIO
{

/// The layout of the samples of a TIFF image (TIFF 6.0, sections 3 to 8, 18 and 19).
struct TiffSamples
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 0;        ///< Of a sample.
    std::uint16_t count = 0;       ///< Of a pixel.
    std::uint16_t photometric = 0; ///< The code of the tag.
    std::uint16_t format = 0;      ///< The code of the tag SampleFormat.
    bool isPlanar = false;         ///< Each sample of a pixel lies in a plane of its own.
    bool isPremultiplied = false;  ///< The colours are premultiplied with the opacity, the sample behind them.

    std::uint16_t Planes() const noexcept { return isPlanar ? count : std::uint16_t{1}; }

    /// Bytes of a row of \p samplesPerPixel samples as it is in the file.
    std::uint64_t PackedRowSize(std::uint16_t samplesPerPixel) const noexcept
    {
        return (std::uint64_t{bits} * samplesPerPixel * width + 7) / 8;
    }

    /// Bytes of a sample in memory: whole ones.
    std::size_t UnpackedSize() const noexcept { return bits <= 8 ? 1 : bits <= 16 ? 2 : (bits + 7u) / 8; }

    /// The layout as a text for messages.
    std::string Description() const;
};

/// Unpacks \p count samples of a row. Samples of less than 8 bits become bytes, those of 9 to 15 bits 16-bit numbers;
/// the values do not change.
/// \param step of the target, in samples.
void Unpack(const TiffSamples& samples, const unsigned char* row, std::size_t count, unsigned char* target,
            std::size_t step);

/// Converts unpacked samples to pixels, as ImageFile describes.
class TiffConversion
{
public:
    using Palette = std::vector<std::array<unsigned char, 3>>;

    /// \param samples has to outlive the conversion.
    /// \throws ReadImageException of cause Unsupported for samples that cannot be converted.
    explicit TiffConversion(const TiffSamples& samples);

    /// True if the samples are the pixels already.
    bool IsNone() const noexcept { return m_step == Step::None; }

    Imaging::PixelKind Kind() const noexcept { return m_kind; }

    /// \param unpacked all samples, side by side.
    /// \param palette of a palette image.
    /// \throws ReadImageException of cause Unsupported for values that cannot be converted.
    std::unique_ptr<Imaging::const_raw_image> Convert(const unsigned char* unpacked, const Palette& palette) const;

private:
    enum class Step
    {
        None,
        Spread,        ///< Grey of up to 8 bits to 0 ... 255, possibly inverted.
        Invert,        ///< Grey of up to 16 bits is inverted.
        Colours,       ///< Palette.
        Float,         ///< Converts numbers to floats.
        GreyAlpha,     ///< Grey with an opacity.
        Unpremultiply, ///< RGB multiplied with its opacity.
    };

    void ChooseGrey();
    void ChooseColours();

    const TiffSamples& m_samples;
    Step m_step = Step::None;
    Imaging::PixelKind m_kind = Imaging::PixelKind::UInt8;
};

} // namespace Ardo::Kiln::ImageIO
