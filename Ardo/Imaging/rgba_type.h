#pragma once

namespace Ardo::Imaging
{

/// One pixel of three colour samples and an opacity, side by side in memory in this order and without padding.
template <typename T>
struct rgba_type
{
    T red{};   ///< Red sample.
    T green{}; ///< Green sample.
    T blue{};  ///< Blue sample.
    T alpha{}; ///< 0 is transparent, the type's largest value opaque; the colours are not multiplied with it.

    friend constexpr bool operator==(const rgba_type&, const rgba_type&) = default;
};

static_assert(sizeof(rgba_type<unsigned char>) == 4);

} // namespace Ardo::Imaging
