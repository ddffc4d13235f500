#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

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

/// One type for each element name.
template <FixedString Text>
struct FieldName
{
    static constexpr std::string_view View() { return {Text.text, sizeof(Text.text) - 1}; }
};

template <FixedString Text>
constexpr FieldName<Text> operator""_field()
{
    return {};
}

} // namespace Ardo::Kiln::MetadataSerializer
