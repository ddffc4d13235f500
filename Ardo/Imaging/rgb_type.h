#pragma once

namespace Ardo::Imaging
{

/// One pixel of three samples. In memory they stand in this order, without padding.
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
