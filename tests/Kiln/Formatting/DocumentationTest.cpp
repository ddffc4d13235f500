#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Formatting/NiceNumber.h"
#include "Ardo/Kiln/Formatting/Parse.h"
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

} // namespace

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
    const std::size_t begin = page.find("```cpp\nconst ") + 6;
    const std::string block = page.substr(begin, page.find("\n```", begin) - begin);
    EXPECT_THAT(Read("tests/Kiln/Formatting/DocumentationTest.cpp"),
                testing::HasSubstr(std::regex_replace(block, std::regex("\n"), "\n    ")));
}

} // namespace Ardo::Kiln::Formatting
