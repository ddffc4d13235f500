#pragma once

namespace Ardo::MetadataLib
{

/// A rectangle with axis-parallel edges, in the unit of the field that holds it.
///
/// Documents contain its origin and extent ("X", "Y", "Width", "Height"). With `int` the extent must fit 32 bits. With
/// `double` the right edge is read back as left + (right - left), which may differ from it in the last digit; so is
/// the lower edge.
template <typename T>
struct Rectangle
{
    T left{};   ///< Left edge.
    T top{};    ///< Upper edge.
    T right{};  ///< Right edge.
    T bottom{}; ///< Lower edge.

    bool operator==(const Rectangle&) const = default;
};

} // namespace Ardo::MetadataLib
