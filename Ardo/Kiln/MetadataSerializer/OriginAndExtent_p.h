#pragma once

#include "Ardo/MetadataLib/Rectangle.h"

#include <boost/property_tree/exceptions.hpp>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace Ardo::Kiln::MetadataSerializer
{

/// The representation of a rectangle in documents.
template <typename T>
struct OriginAndExtent
{
    T x{};
    T y{};
    T width{};
    T height{};
};

/// Converts between the corners of the model and the origin and extent of documents.
template <typename T>
struct OriginAndExtentOf
{
    using Document = OriginAndExtent<T>;

    /// \throws boost::property_tree::ptree_bad_data if an extent does not fit the type.
    static Document ToDocument(const MetadataLib::Rectangle<T>& value)
    {
        return {value.left, value.top, Subtract(value.right, value.left), Subtract(value.bottom, value.top)};
    }

    /// \throws boost::property_tree::ptree_bad_data if a corner does not fit the type.
    static MetadataLib::Rectangle<T> FromDocument(const Document& value)
    {
        return {value.x, value.y, Add(value.x, value.width), Add(value.y, value.height)};
    }

private:
    /// For integers a type that holds every sum and difference of two values.
    using Wide = std::conditional_t<std::is_integral_v<T>, std::int64_t, T>;

    static T Add(T first, T second) { return Checked(Wide{first} + Wide{second}); }
    static T Subtract(T first, T second) { return Checked(Wide{first} - Wide{second}); }

    static T Checked(Wide value)
    {
        if constexpr (std::is_integral_v<T>)
        {
            if (value < std::numeric_limits<T>::min() || value > std::numeric_limits<T>::max())
            {
                BOOST_PROPERTY_TREE_THROW(boost::property_tree::ptree_bad_data(
                    std::string("conversion of data to type \"") + typeid(T).name() + "\" failed",
                    std::to_string(value)));
            }
        }
        return static_cast<T>(value);
    }
};

} // namespace Ardo::Kiln::MetadataSerializer
