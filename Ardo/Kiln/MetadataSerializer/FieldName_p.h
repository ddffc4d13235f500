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

/// The name of an element as a type of its own, so that each name has one empty tree node, made once: copying it into a
/// tree costs half of making a node from a text, and finding a child needs the name as a std::string anyway.
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
