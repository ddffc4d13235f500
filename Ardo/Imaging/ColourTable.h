#pragma once

#include "Ardo/Imaging/rgb_type.h"
#include "Ardo/KilnExport.h"

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace Ardo::Imaging
{

/// The colours of the 256 levels from black to white of a display.
///
/// A value type. Thread-safety: as that of any value.
///
///     const ColourTable colours = ColourTable::Named("viridis");
///     const rgb_type<unsigned char> brightest = colours[255];
class KILN_EXPORT ColourTable
{
public:
    /// A colour of the screen, 8 bits a channel.
    using Colour = rgb_type<unsigned char>;

    /// Number of levels.
    static constexpr std::size_t Size = 256;

    /// The table "grey".
    ColourTable() noexcept;

    /// The table of \p colours, one for each level from black to white.
    explicit ColourTable(const std::array<Colour, Size>& colours) noexcept : m_colours(colours) {}

    /// A table of the library.
    /// "grey" goes from black to white, "inverted" from white to black. "viridis", "magma", "inferno" and "plasma" are
    /// the tables of S. van der Walt and N. Smith (https://bids.github.io/colormap), "cividis" is that of J. Nuñez,
    /// C. Anderton and R. Renslow (PLoS ONE 13, e0199239, 2018): equal steps of the level look equally large, and they
    /// become brighter from level to level, so they survive a grey printer and common colour vision deficiencies.
    /// \param name one of Names(), or one of them followed by "-reversed".
    /// \throws std::invalid_argument for another name; the text lists the names.
    static ColourTable Named(std::string_view name);

    /// "grey", "inverted", "viridis", "magma", "inferno", "plasma", "cividis".
    static std::span<const std::string_view> Names() noexcept;

    /// The table in the contents of a file.
    /// Two formats are understood, told apart by the contents:
    /// - 768 bytes: the 256 red samples, then the green ones, then the blue ones.
    /// - Text: one line a colour, each with the red, green and blue sample from 0 to 255 in decimal, separated by
    ///   blanks, tabs, commas or semicolons. 256 lines, or 2 to 255, between which the table is interpolated linearly.
    ///   With a fourth number in front, each line has the index of its colour first; indices count from 0 by 1.
    ///   Empty lines and lines that begin with "#" do not count, nor does the first line if it begins with a letter.
    /// \throws std::invalid_argument with the line and the fault for other contents, also beyond 65,536 bytes.
    static ColourTable Parse(std::string_view contents);

    /// The same colours from the last to the first.
    [[nodiscard]] ColourTable Reversed() const noexcept;

    /// True if each colour is a shade of grey.
    [[nodiscard]] bool IsGrey() const noexcept;

    /// The colour of \p level, which is below Size.
    [[nodiscard]] const Colour& operator[](std::size_t level) const noexcept { return m_colours[level]; }

    friend bool operator==(const ColourTable&, const ColourTable&) = default;

private:
    std::array<Colour, Size> m_colours;
};

} // namespace Ardo::Imaging
