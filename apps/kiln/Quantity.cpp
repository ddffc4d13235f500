#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Json.h"
#include "apps/kiln/QuantityText.h"
#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Formatting/Parse.h"
#include "Ardo/Kiln/Formatting/Prefix.h"
#include "Ardo/Kiln/Formatting/QuantityFormat.h"
#include "Ardo/Kiln/Formatting/SI.h"

#include <charconv>
#include <limits>

namespace Ardo::Kiln::Tool
{

namespace
{

using Conversion::String;

/// \param text empty: not given, NaN.
double ParseNumber(const std::string& name, const std::string& text)
{
    double value = std::numeric_limits<double>::quiet_NaN();
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (!text.empty() && (error != std::errc() || end != text.data() + text.size()))
    {
        throw UsageError(name + ": '" + Printable(text) + "' is no number");
    }
    return value;
}

void PrintText(const std::wstring& text, bool isJson)
{
    const std::string narrow = String::ToUtf8(text);
    Print((isJson ? JsonText({{"text", QString::fromStdString(narrow)}}) : narrow) + "\n");
}

} // namespace

bool Format(const FormatOptions& options)
{
    using Formatting::Prefix;

    if (options.value.empty())
    {
        throw UsageError("VALUE: no number");
    }
    if (const auto quantity = Formatting::QuantityFromName(String::FromUtf8(options.unit)))
    {
        if (options.decimals != 0 || options.prefix || !options.uncertainty.empty() || !options.reference.empty())
        {
            throw UsageError(Printable(options.unit) + ": the digits and the prefix are those of the quantity");
        }
        PrintText(Formatting::FormatQuantity(ParseNumber("VALUE", options.value), *quantity), options.isJson);
        return true;
    }
    Prefix smallest = Prefix::Femto;
    Prefix largest = Prefix::Exa;
    if (options.prefix)
    {
        const auto prefix = Formatting::PrefixFromSymbol(String::FromUtf8(*options.prefix));
        if (!prefix)
        {
            throw UsageError("--prefix: '" + Printable(*options.prefix) + "' is none of f p n µ m k M G T P E");
        }
        smallest = largest = *prefix;
    }
    try
    {
        PrintText(Formatting::SI(ParseNumber("VALUE", options.value), String::FromUtf8(options.unit), options.decimals,
                                 ParseNumber("--uncertainty", options.uncertainty),
                                 ParseNumber("--reference", options.reference), smallest, largest),
                  options.isJson);
        return true;
    }
    catch (const std::logic_error& error)
    {
        throw Failure(Printable(options.unit) + ": no unit: " + error.what());
    }
}

bool Parse(const ParseOptions& options)
{
    const std::wstring text = String::FromUtf8(options.text);
    const std::wstring unit = String::FromUtf8(options.unit);
    try
    {
        const auto quantity = Formatting::QuantityFromName(unit);
        const double value = quantity ? Formatting::ParseQuantity(text, *quantity) : Formatting::Parse(text, unit);
        const std::string number = NumberText(value);
        Print((options.isJson ? JsonText({{"value", QString::fromStdString(number).toDouble()}}) : number) + "\n");
        return true;
    }
    catch (const std::logic_error& error)
    {
        throw Failure(Printable(options.text) + ": " + error.what());
    }
}

} // namespace Ardo::Kiln::Tool
