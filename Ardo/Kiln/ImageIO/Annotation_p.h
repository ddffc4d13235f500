#pragma once

#include "Ardo/Imaging/rgb_type.h"
#include "Ardo/Imaging/size_2d.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Ardo::Kiln::ImageIO
{

/// A picture of 8-bit samples that is drawn on. Distances are in pixels; x goes to the right, y downwards, and the
/// centre of a pixel is at 0.5. Parts outside are not drawn. One thread at a time.
struct Canvas
{
    Imaging::size_2d size;
    std::size_t samples;              ///< A pixel: 1 grey or 3 colours.
    std::vector<std::uint8_t> pixels; ///< Without gaps between rows.

    using Colour = Imaging::rgb_type<unsigned char>;

    /// Fills the rectangle from \p left, \p top to before \p right, \p bottom.
    void FillRectangle(int left, int top, int right, int bottom, const Colour& colour);

    /// Draws a line of text with smooth edges.
    /// \param x        left end.
    /// \param baseline bottom of the capital letters.
    /// \param height   of the capital letters.
    /// \param stroke   width of the strokes.
    void DrawText(double x, double baseline, double height, double stroke, const std::wstring& text,
                  const Colour& colour);
};

/// The width in pixels of a line of text whose capital letters have \p height pixels.
///
/// The font has the printable characters of ASCII and those that units have besides: micro, angstrom, degree,
/// superscript digits and signs, dashes, the multiplication and dot signs, infinity. Others are shown as "?".
double TextWidth(const std::wstring& text, double height);

} // namespace Ardo::Kiln::ImageIO
