#pragma once

#include <algorithm>
#include <boost/property_tree/ptree.hpp>
#include <cstddef>

namespace Ardo::Kiln::MetadataSerializer
{

/// A text as a template argument.
template <std::size_t Size>
struct FixedString
{
    char text[Size];

    consteval FixedString(const char (&literal)[Size]) // NOLINT(google-explicit-constructor): a literal is meant
    {
        std::copy_n(literal, Size, text);
    }
};

/// One type for each element name, so that each name has a prebuilt empty node: copying it into a tree is twice as fast
/// as building a node from a text. Its key serves the look-up of children, too.
template <FixedString Text>
struct FieldName
{
    static const boost::property_tree::ptree::value_type& Node()
    {
        // Never destroyed: documents may be written while the process ends.
        static const auto* const node =
            new boost::property_tree::ptree::value_type(Text.text, boost::property_tree::ptree());
        return *node;
    }
};

template <FixedString Text>
constexpr FieldName<Text> operator""_field()
{
    return {};
}

} // namespace Ardo::Kiln::MetadataSerializer
