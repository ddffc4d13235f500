#pragma once

#include <cstdint>

namespace Ardo::Imaging
{

/// A part of an image, in pixels. It contains the column \c left and the row \c top, and ends before the column
/// \c right and the row \c bottom.
struct rectangle
{
    std::int32_t left = 0;   ///< First column.
    std::int32_t top = 0;    ///< First row.
    std::int32_t right = 0;  ///< The column behind the last.
    std::int32_t bottom = 0; ///< The row behind the last.

    /// \c right - \c left in pixels; negative if \c right is less than \c left.
    [[nodiscard]] constexpr std::int64_t Width() const noexcept { return std::int64_t{right} - left; }

    /// \c bottom - \c top in pixels; negative if \c bottom is less than \c top.
    [[nodiscard]] constexpr std::int64_t Height() const noexcept { return std::int64_t{bottom} - top; }

    friend constexpr bool operator==(const rectangle&, const rectangle&) = default;
};

} // namespace Ardo::Imaging
