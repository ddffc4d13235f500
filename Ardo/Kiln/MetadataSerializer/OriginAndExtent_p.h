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

/// A rectangle as documents show it.
template <typename T>
struct OriginAndExtent
{
    T x{};
    T y{};
    T width{};
    T height{};
};

/// Turns the corners of the model into the origin and extent of documents and back.
template <typename T>
struct OriginAndExtentOf
{
    using Document = OriginAndExtent<T>;

    /// \throws boost::property_tree::ptree_bad_data if an extent does not fit the type.
    static Document ToDocument(const MetadataLib::Rectangle<T>& value)
    {
        return {value.left, value.top, Combined<-1>(value.right, value.left), Combined<-1>(value.bottom, value.top)};
    }

    /// \throws boost::property_tree::ptree_bad_data if a corner does not fit the type.
    static MetadataLib::Rectangle<T> FromDocument(const Document& value)
    {
        return {value.x, value.y, Combined<1>(value.x, value.width), Combined<1>(value.y, value.height)};
    }

private:
    template <int Sign>
    static T Combined(T first, T second)
    {
        if constexpr (std::is_integral_v<T>)
        {
            const std::int64_t result = std::int64_t{first} + Sign * std::int64_t{second};
            if (result < std::numeric_limits<T>::min() || result > std::numeric_limits<T>::max())
            {
                BOOST_PROPERTY_TREE_THROW(boost::property_tree::ptree_bad_data(
                    std::string("conversion of data to type \"") + typeid(T).name() + "\" failed",
                    std::to_string(result)));
            }
            return static_cast<T>(result);
        }
        else
        {
            return first + Sign * second;
        }
    }
};

} // namespace Ardo::Kiln::MetadataSerializer
