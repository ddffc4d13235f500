#pragma once

namespace Ardo::Imaging
{

/// One pixel of three colour samples and an opacity. In memory they stand in this order, without padding.
template <typename T>
struct rgba_type
{
    T red{};   ///< Red sample.
    T green{}; ///< Green sample.
    T blue{};  ///< Blue sample.
    T alpha{}; ///< 0 is transparent, the largest value opaque. The colours are not premultiplied.

    friend constexpr bool operator==(const rgba_type&, const rgba_type&) = default;
};

static_assert(sizeof(rgba_type<unsigned char>) == 4);

} // namespace Ardo::Imaging
