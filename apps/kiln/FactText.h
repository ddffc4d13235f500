#pragma once

#include <concepts>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Tool
{

/// A part of a line of FactText: a text, or a value with its name before it. It refers to the texts, which must live
/// until the line is written.
class FactPart
{
public:
    /// \param text UTF-8, of any source.
    template <std::convertible_to<std::string_view> Text>
    FactPart(const Text& text) : m_text(text)
    {
    }

    /// \param text without control characters.
    template <std::convertible_to<std::wstring_view> Text>
    FactPart(const Text& text) : m_wide(text)
    {
    }

    FactPart(const std::optional<std::string>& text) : m_text(text ? std::string_view(*text) : std::string_view()) {}

    /// \param name without control characters; may be empty.
    FactPart(std::string_view name, const FactPart& value) : m_name(name), m_text(value.m_text), m_wide(value.m_wide) {}

    /// True if there is no text or no value.
    bool IsEmpty() const { return m_text.empty() && m_wide.empty(); }

    void AppendTo(std::string& line) const;

private:
    std::string_view m_name;
    std::string_view m_text;
    std::wstring_view m_wide;
};

/// Facts for a person: a column of titles and a column of texts. A title is printed once for its lines.
class FactText
{
public:
    /// \param title a literal of at most 15 characters.
    void Section(const char* title) { m_title = title; }

    void Line(const FactPart& part);

    /// Parts that are not empty, with commas between. No line if all are empty.
    void Line(std::initializer_list<FactPart> parts);

    const std::string& Text() const { return m_text; }

private:
    void BeginLine();

    std::string_view m_title;
    std::string m_text;
};

} // namespace Ardo::Kiln::Tool
