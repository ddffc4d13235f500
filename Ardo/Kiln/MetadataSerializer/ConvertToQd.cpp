#include "Ardo/Kiln/MetadataSerializer/ConvertToQd.h"

#include "Ardo/MetadataLib/Metadata.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <string_view>

namespace Ardo::Kiln
{

namespace
{

void AddSection(std::string& text, std::string_view name)
{
    text.append("[").append(name).append("]\r\n");
}

void AddKey(std::string& text, std::string_view key, std::string_view value)
{
    text.append(key).append("=").append(value).append("\r\n");
}

/// Formats a length as "%8.6e" does.
void AddLength(std::string& text, std::string_view key, const MetadataLib::Quantity& length)
{
    if (length.Unit.value_or(std::string()) != "m")
    {
        return;
    }
    char buffer[50];
    const auto end =
        std::to_chars(std::begin(buffer), std::end(buffer), length.Value, std::chars_format::scientific, 6).ptr;
    std::string value(std::begin(buffer), end);
    if (value.size() < 8)
    {
        value.insert(0, 8 - value.size(), ' '); // "nan" and "inf"
    }
    AddKey(text, key, value);
}

void AddPixelSize(std::string& text, const std::optional<MetadataLib::PixelSizeRecord>& pixelSize)
{
    if (pixelSize)
    {
        AddLength(text, "PixelWidth", pixelSize->X);
        AddLength(text, "PixelHeight", pixelSize->Y);
    }
}

} // namespace

std::string ConvertToQd(const MetadataLib::Metadata& metadata)
{
    std::string text;
    AddSection(text, "Beam");
    AddKey(text, "Beam", "EBeam");
    AddKey(text, "Scan", "EScan");
    AddSection(text, "Scan");
    AddPixelSize(text, metadata.BinaryResult.PixelSize);
    AddSection(text, "EScan");
    AddPixelSize(text, metadata.BinaryResult.PixelSize);
    return text;
}

} // namespace Ardo::Kiln
