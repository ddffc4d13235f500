#include "Ardo/Kiln/ImageIO/PlotFile.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/ImageIO/WholeFile_p.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <string_view>

namespace Ardo::Kiln::ImageIO
{

namespace
{

constexpr std::string_view LineEnd = "\r\n";

bool IsSeparator(char c)
{
    constexpr std::string_view Numbers = "\".+-\r\n"; // beside letters and digits
    const bool isLetterOrDigit = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    return c > '\0' && c != '\x7f' && !isLetterOrDigit && Numbers.find(c) == std::string_view::npos;
}

void AppendName(std::string& text, const PlotAxis& axis, char separator)
{
    const std::string name =
        axis.unit.empty() ? axis.name : axis.name + (axis.name.empty() ? "[" : " [") + axis.unit + "]";
    static_cast<void>(Conversion::String::FromUtf8(name));
    const auto isSpecial = [separator](char c) { return c == separator || c == '"' || c == '\r' || c == '\n'; };
    if (std::ranges::none_of(name, isSpecial))
    {
        text += name;
        return;
    }
    text += '"';
    for (const char c : name)
    {
        text.append(c == '"' ? 2 : 1, c);
    }
    text += '"';
}

void AppendNumber(std::string& text, double number)
{
    if (!std::isnan(number))
    {
        char digits[32];
        text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
    }
}

} // namespace

std::string PlotText(const Plot& plot, const PlotTextFormat& format)
try
{
    if (!IsSeparator(format.separator))
    {
        throw std::invalid_argument("plot: a separator that occurs in numbers or names");
    }
    std::string text;
    if (format.hasHeader)
    {
        AppendName(text, plot.axis, format.separator);
    }
    for (const PlotSeries& series : plot.series)
    {
        if (series.values.size() > plot.positions.size())
        {
            throw std::invalid_argument("plot: a series with more values than there are positions");
        }
        if (format.hasHeader)
        {
            text += format.separator;
            AppendName(text, series.axis, format.separator);
        }
    }
    text += format.hasHeader ? LineEnd : "";
    for (std::size_t i = 0; i < plot.positions.size(); ++i)
    {
        AppendNumber(text, plot.positions[i]);
        for (const PlotSeries& series : plot.series)
        {
            text += format.separator;
            if (i < series.values.size())
            {
                AppendNumber(text, series.values[i]);
            }
        }
        text += LineEnd;
    }
    return text;
}
catch (const std::range_error&)
{
    throw std::invalid_argument("plot: a name or a unit is not UTF-8");
}

void WritePlot(const std::wstring& fileName, const Plot& plot, const PlotTextFormat& format)
{
    std::string text = PlotText(plot, format);
    if (std::ranges::any_of(text, [](char c) { return static_cast<unsigned char>(c) >= 0x80; }))
    {
        text.insert(0, "\xef\xbb\xbf");
    }
    WriteWholeFile(fileName, text);
}

} // namespace Ardo::Kiln::ImageIO
