#pragma once

namespace Ardo::MetadataLib
{

/// Two components in the unit of the field that holds them.
template <typename T>
struct Vector2
{
    T x{}; ///< Component in x.
    T y{}; ///< Component in y.

    bool operator==(const Vector2&) const = default;
};

/// Three components in the unit of the field that holds them.
template <typename T>
struct Vector3
{
    T x{}; ///< Component in x.
    T y{}; ///< Component in y.
    T z{}; ///< Component in z.

    bool operator==(const Vector3&) const = default;
};

} // namespace Ardo::MetadataLib
