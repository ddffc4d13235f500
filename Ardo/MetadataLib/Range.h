#pragma once

namespace Ardo::MetadataLib
{

/// An interval from \c begin to \c end, in the unit of the field that holds it. \c begin may be greater than \c end.
template <typename T>
struct Range
{
    T begin{}; ///< First limit.
    T end{};   ///< Second limit.

    bool operator==(const Range&) const = default;
};

} // namespace Ardo::MetadataLib
