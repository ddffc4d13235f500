#pragma once

namespace Ardo::MetadataLib
{

/// An affine map of the plane: x' = a11 x + a12 y + a13, y' = a21 x + a22 y + a23. The default is the identity.
/// a13 and a23 are in the unit of the coordinates; the other elements have no unit.
struct TransformMatrix
{
    double a11 = 1.0; ///< Factor of x in x'.
    double a12 = 0.0; ///< Factor of y in x'.
    double a13 = 0.0; ///< Translation in x.
    double a21 = 0.0; ///< Factor of x in y'.
    double a22 = 1.0; ///< Factor of y in y'.
    double a23 = 0.0; ///< Translation in y.

    bool operator==(const TransformMatrix&) const = default;
};

} // namespace Ardo::MetadataLib
