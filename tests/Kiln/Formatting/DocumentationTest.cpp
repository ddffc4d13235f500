#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Formatting/NiceNumber.h"
#include "Ardo/Kiln/Formatting/Parse.h"
#include "Ardo/Kiln/Formatting/QuantityFormat.h"
#include "Ardo/Kiln/Formatting/Scientific.h"
#include "Ardo/Kiln/Formatting/SI.h"
#include "Ardo/Kiln/Formatting/UnitAlgebra.h"
#include "Ardo/Kiln/Formatting/Units.h"
#include "Ardo/Kiln/Formatting/UnitWithPrefix.h"

#include <gmock/gmock.h>

#include <charconv>
#include <cmath>
#include <exception>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Ardo::Kiln::Formatting
{

namespace
{

using Conversion::String;

std::string Read(const char* path)
{
    std::ifstream file(std::filesystem::path(KILN_SOURCE_DIR) / path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

double ToNumber(const std::string& text)
{
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

std::string ToText(double value)
{
    char text[40];
    return {text, std::to_chars(std::begin(text), std::end(text), value, std::chars_format::general, 6).ptr};
}

// What the call gives, as the page writes it: UTF-8, an exception by its text.
std::string Call(const std::string& function, const std::vector<std::string>& arguments)
try
{
    const auto text = [&](std::size_t i) { return String::FromUtf8(arguments.at(i)); };
    const auto number = [&](std::size_t i) { return ToNumber(arguments.at(i)); };
    const auto decimals = [&] { return arguments.size() > 2 ? static_cast<int>(number(2)) : 0; };
    if (function == "SI")
    {
        const bool hasPrefix = arguments.size() > 3 && arguments[3] == "Prefix::None";
        return String::ToUtf8(hasPrefix ? SI(number(0), text(1), decimals(), Prefix::None)
                                        : SI(number(0), text(1), decimals()));
    }
    if (function == "SIUsingUncertainty")
    {
        return String::ToUtf8(arguments.size() > 3 ? SIUsingUncertainty(number(0), text(1), number(2), number(3))
                                                   : SIUsingUncertainty(number(0), text(1), number(2)));
    }
    return function == "Scientific"               ? String::ToUtf8(Scientific(number(0), text(1), decimals()))
           : function == "CreateNiceNumber"       ? ToText(CreateNiceNumber(number(0)))
           : function == "Parse"                  ? ToText(Parse(text(0), text(1)))
           : function == "RetrieveUnitWithPrefix" ? String::ToUtf8(RetrieveUnitWithPrefix(text(0), text(1), decimals()))
           : function == "PrefixExponent"         ? ToText(PrefixExponent(text(0)))
           : function == "InvertUnit"             ? String::ToUtf8(InvertUnit(text(0)))
           : function == "FormatIfReciprocalUnit" ? String::ToUtf8(FormatIfReciprocalUnit(text(0)))
                                                  : "no such function";
}
catch (const std::exception& exception)
{
    return exception.what();
}

std::string ToUtf8(std::wstring_view text)
{
    return text.empty() ? "1" : String::ToUtf8(std::wstring(text));
}

std::string Symbol(Prefix prefix)
{
    return prefix == Prefix::None ? "none" : String::ToUtf8(PrefixSymbol(prefix));
}

// The units that the message about a wrong one lists.
std::string TypedAs(const QuantityFormat& format)
try
{
    ParseQuantity(L"1 furlong", format.quantity);
    return "a unit of horses";
}
catch (const std::invalid_argument& error)
{
    const std::string message = error.what();
    return format.isTyped ? message.substr(message.find("units: ") + 7) : "-";
}

// The row of the page about a quantity, up to its example.
std::string Row(const QuantityFormat& format)
{
    const std::string prefixes = format.minPrefix == format.maxPrefix
                                     ? Symbol(format.minPrefix)
                                     : Symbol(format.minPrefix) + " to " + Symbol(format.maxPrefix);
    const std::string step = format.hasExponent ? "exponent" : "1e" + std::to_string(format.smallestStep);
    const char* const signs[] = {"no", "-", "- +"};
    std::string row = "|";
    for (const std::string& cell :
         {ToUtf8(format.name), ToUtf8(format.unit->base), ToUtf8(format.unit->text), std::to_string(format.digits),
          step, prefixes, std::string(signs[static_cast<int>(format.sign)]), TypedAs(format)})
    {
        row += " " + cell + " |";
    }
    return row;
}

} // namespace

TEST(DocumentationTest, TheTableOfQuantitiesIsThatOfTheCode)
{
    std::istringstream page(Read("docs/formatting.md"));
    const std::regex example(R"re((.*) `([^`]*)` \| `([^`]*)` \|)re");
    std::string line;
    while (std::getline(page, line) && !line.starts_with("| quantity |"))
    {
    }
    std::getline(page, line);
    for (const QuantityFormat& format : QuantityFormats())
    {
        std::smatch cells;
        ASSERT_TRUE(std::getline(page, line) && std::regex_match(line, cells, example)) << line;
        EXPECT_EQ(cells[1], Row(format));
        EXPECT_EQ(String::ToUtf8(FormatQuantity(ToNumber(cells[2]), format.quantity)), cells[3]) << line;
    }
    EXPECT_FALSE(std::getline(page, line) && line.starts_with("|")) << line;
}

TEST(DocumentationTest, EveryLineOfTheTableHolds)
{
    const std::string page = Read("docs/formatting.md");
    const std::regex row(R"re(\| `(\w+)\((.*)\)` \| `(.*)` \|)re");
    const std::regex argument(R"re("([^"]*)"|([^", ]+))re");
    int count = 0;
    for (std::sregex_iterator i(page.begin(), page.end(), row), end; i != end; ++i, ++count)
    {
        const std::string list = (*i)[2];
        std::vector<std::string> arguments;
        for (std::sregex_iterator j(list.begin(), list.end(), argument); j != end; ++j)
        {
            arguments.push_back((*j)[1].matched ? (*j)[1] : (*j)[2]);
        }
        EXPECT_EQ(Call((*i)[1], arguments), (*i)[3]) << (*i)[0];
    }
    EXPECT_GE(count, 80);
}

TEST(DocumentationTest, TheScaleBarIsTheOneOfTheReadme)
{
    const double pixelSize = 1.07e-7; // metres
    const double fieldOfView = 550 * pixelSize;
    const double length = CreateNiceNumber(fieldOfView / 10);
    const double pixels = std::round(length / pixelSize);
    const std::wstring label = SI(length, Units::Metre); // "10 µm", 93 pixels

    EXPECT_EQ(label, L"10 \u00B5m");
    EXPECT_EQ(pixels, 93);
    const std::string page = Read("README.md");
    const std::size_t begin = page.find("const double pixelSize");
    const std::string block = page.substr(begin, page.find("\n```", begin) - begin);
    EXPECT_THAT(Read("tests/Kiln/Formatting/DocumentationTest.cpp"),
                testing::HasSubstr(std::regex_replace(block, std::regex("\n"), "\n    ")));
}

} // namespace Ardo::Kiln::Formatting
