#pragma once

#include "Ardo/Imaging/size_2d.h"
#include "Ardo/KilnExport.h"
#include "Ardo/MetadataLib/BinaryResultRecord.h"

#include <string_view>
#include <variant>

namespace Ardo::Kiln::ImageIO
{

/// How large an exported image is, compared with the original. The aspect ratio is kept, except for rounding to whole
/// pixels. A value type.
///
///     ExportSize::Parse("1024").Of({4096, 2048});  // {1024, 512}
class KILN_EXPORT ExportSize
{
public:
    /// Sides of an exported image that are greater are an error.
    static constexpr std::uint32_t MaxSide = 65'500;

    /// The original size.
    ExportSize() noexcept = default;

    /// \param percent of each side, greater than 0 and at most 10,000.
    /// \throws std::invalid_argument for another number.
    static ExportSize Percent(double percent);

    /// \param pixels of the longer side, from 1 to MaxSide.
    /// \throws std::invalid_argument for another number.
    static ExportSize LongestSide(std::uint32_t pixels);

    /// The largest size within \p pixels, one side of which it has.
    /// \param pixels both sides from 1 to MaxSide.
    /// \throws std::invalid_argument for another size.
    static ExportSize Within(Imaging::size_2d pixels);

    /// The size that a person typed: "50 %", "1024" (longest side), "800x600" (within) or "original". Blanks do not
    /// count; numbers have "." whatever the locale.
    /// \throws std::invalid_argument with the text and what is accepted.
    static ExportSize Parse(std::string_view text);

    /// The size for an image of \p original pixels; at least 1 on each side.
    /// \param original neither side is 0.
    /// \throws std::invalid_argument if a side of \p original is 0 or one of the result is greater than MaxSide, unless
    ///         it is that of the original.
    [[nodiscard]] Imaging::size_2d Of(Imaging::size_2d original) const;

    friend bool operator==(const ExportSize&, const ExportSize&) = default;

private:
    struct Original
    {
        friend bool operator==(const Original&, const Original&) = default;
    };

    /// The original, a factor, the longest side, or both sides.
    std::variant<Original, double, std::uint32_t, Imaging::size_2d> m_size;
};

/// The pixel size of an image after scaling: the field of view stays.
/// \param from the pixels that \p pixelSize belongs to.
/// \param to   the pixels after scaling; neither side is 0.
KILN_EXPORT MetadataLib::PixelSizeRecord ScaledPixelSize(const MetadataLib::PixelSizeRecord& pixelSize,
                                                         Imaging::size_2d from, Imaging::size_2d to) noexcept;

} // namespace Ardo::Kiln::ImageIO
