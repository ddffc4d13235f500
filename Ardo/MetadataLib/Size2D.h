#pragma once

namespace Ardo::MetadataLib
{

/// An extent in two directions, in the unit of the field that holds it.
template <typename T>
struct Size2D
{
    T width{};  ///< Extent in x.
    T height{}; ///< Extent in y.

    bool operator==(const Size2D&) const = default;
};

} // namespace Ardo::MetadataLib
