#pragma once

namespace Ardo::MetadataLib
{

/// A rectangle kept by its corners, in the unit of the field that holds it.
///
/// Documents show origin and extent ("X", "Y", "Width", "Height"). For `int` the extent has to fit 32 bits; for
/// `double` the far corner comes back as left + (right - left), which may differ from it in the last digit.
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
