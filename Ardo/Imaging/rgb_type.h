#pragma once

namespace Ardo::Imaging
{

/// One pixel of three samples, side by side in memory in this order and without padding.
template <typename T>
struct rgb_type
{
    T red{};   ///< Red sample.
    T green{}; ///< Green sample.
    T blue{};  ///< Blue sample.

    friend constexpr bool operator==(const rgb_type&, const rgb_type&) = default;
};

static_assert(sizeof(rgb_type<unsigned char>) == 3);

} // namespace Ardo::Imaging
