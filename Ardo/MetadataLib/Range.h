#pragma once

namespace Ardo::MetadataLib
{

/// An interval from \c begin to \c end, in the unit of the field that holds it. Nothing orders the two.
template <typename T>
struct Range
{
    T begin{}; ///< Where it begins.
    T end{};   ///< Where it ends.

    bool operator==(const Range&) const = default;
};

} // namespace Ardo::MetadataLib
