#pragma once

#include <cstdint>

namespace Ardo::Imaging
{

/// The size of an image in pixels.
struct size_2d
{
    std::uint32_t width = 0;  ///< Columns.
    std::uint32_t height = 0; ///< Rows.

    friend constexpr bool operator==(const size_2d&, const size_2d&) = default;
};

} // namespace Ardo::Imaging
