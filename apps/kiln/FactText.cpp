#include "apps/kiln/FactText.h"

#include "apps/kiln/Streams.h"
#include "Ardo/Kiln/Conversion/Replacing.h"

namespace Ardo::Kiln::Tool
{

void FactPart::AppendTo(std::string& line) const
{
    if (!m_name.empty())
    {
        line.append(m_name).append(1, ' ');
    }
    if (m_wide.empty())
    {
        AppendPrintable(line, m_text);
    }
    else
    {
        Conversion::AppendReplacing(line, m_wide);
    }
}

void FactText::Line(const FactPart& part)
{
    BeginLine();
    part.AppendTo(m_text);
    m_text += '\n';
}

void FactText::Line(std::initializer_list<FactPart> parts)
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

void FactText::BeginLine()
{
    constexpr std::size_t textColumn = 16;
    m_text.append(m_title).append(textColumn - m_title.size(), ' ');
    m_title = {};
}

} // namespace Ardo::Kiln::Tool
