#pragma once

#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/Conversion/Replacing.h"

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
    template <std::convertible_to<std::string_view> Text>
    FactPart(const Text& text) : m_text(text)
    {
    }

    /// A text of the library, which has no control characters.
    template <std::convertible_to<std::wstring_view> Text>
    FactPart(const Text& text) : m_wide(text)
    {
    }

    FactPart(const std::optional<std::string>& text) : m_text(text ? std::string_view(*text) : std::string_view()) {}

    /// \param name has no control characters.
    FactPart(std::string_view name, const FactPart& value) : m_name(name), m_text(value.m_text), m_wide(value.m_wide) {}

    /// True if there is no text or no value.
    bool IsEmpty() const { return m_text.empty() && m_wide.empty(); }

    void AppendTo(std::string& line) const
    {
        if (!m_name.empty())
        {
            line.append(m_name).append(1, ' ');
        }
        AppendPrintable(line, m_text);
        Conversion::AppendReplacing(line, m_wide);
    }

private:
    std::string_view m_name;
    std::string_view m_text; ///< UTF-8, of any source.
    std::wstring_view m_wide;
};

/// Facts for a person: a column of titles and a column of texts. A title is printed once for its lines.
class FactText
{
public:
    void Section(std::string_view title) { m_title = title; }

    void Line(const FactPart& part)
    {
        BeginLine();
        part.AppendTo(m_text);
        m_text += '\n';
    }

    /// Parts that are not empty, with commas between. No line if all are empty.
    void Line(std::initializer_list<FactPart> parts)
    {
        bool isBegun = false;
        for (const FactPart& part : parts)
        {
            if (part.IsEmpty())
            {
                continue;
            }
            if (isBegun)
            {
                m_text += ", ";
            }
            else
            {
                BeginLine();
            }
            isBegun = true;
            part.AppendTo(m_text);
        }
        if (isBegun)
        {
            m_text += '\n';
        }
    }

    const std::string& Text() const { return m_text; }

private:
    void BeginLine()
    {
        constexpr std::size_t textColumn = 16;
        m_text.append(m_title).append(textColumn - m_title.size(), ' ');
        m_title = {};
    }

    std::string_view m_title;
    std::string m_text;
};

} // namespace Ardo::Kiln::Tool
