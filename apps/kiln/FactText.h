#pragma once

#include "apps/kiln/Streams.h"

#include <initializer_list>
#include <string>
#include <utility>

namespace Ardo::Kiln::Tool
{

/// Facts for a person: a column of titles and a column of texts. A title is printed once for its lines.
class FactText
{
public:
    void Section(const char* title) { m_title = title; }

    void Line(const std::string& text)
    {
        std::string title = std::exchange(m_title, "");
        title.resize(16, ' ');
        m_text += title + Printable(text) + "\n";
    }

    /// Parts that are not empty, with commas between.
    void Line(std::initializer_list<std::string> parts)
    {
        std::string line;
        for (const std::string& part : parts)
        {
            line += (line.empty() || part.empty() ? "" : ", ") + part;
        }
        if (!line.empty())
        {
            Line(line);
        }
    }

    const std::string& Text() const { return m_text; }

private:
    std::string m_title;
    std::string m_text;
};

} // namespace Ardo::Kiln::Tool
