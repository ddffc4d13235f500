#pragma once

namespace Ardo::MetadataLib
{

/// An affine map of the plane: x' = a11 x + a12 y + a13, y' = a21 x + a22 y + a23. The default is the identity.
/// a13 and a23 are in the unit of the coordinates, the others have none.
struct TransformMatrix
{
    double a11 = 1.0; ///< x from x.
    double a12 = 0.0; ///< x from y.
    double a13 = 0.0; ///< x of the shift.
    double a21 = 0.0; ///< y from x.
    double a22 = 1.0; ///< y from y.
    double a23 = 0.0; ///< y of the shift.

    bool operator==(const TransformMatrix&) const = default;
};

} // namespace Ardo::MetadataLib
