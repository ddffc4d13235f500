#include "Ardo/Kiln/System/OptionText_p.h"

#include "Ardo/Kiln/Conversion/Replacing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

namespace Ardo::Kiln::System
{

namespace
{

template <typename Number>
std::optional<OptionValue> ReadNumber(const std::string& text)
{
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional<OptionValue>(number) : std::nullopt;
}

std::optional<OptionValue> ReadSwitch(const std::string& text)
{
    for (const char* const word : {"true", "1", "on", "yes"})
    {
        if (text == word)
        {
            return true;
        }
    }
    for (const char* const word : {"false", "0", "off", "no"})
    {
        if (text == word)
        {
            return false;
        }
    }
    return std::nullopt;
}

std::string NumberText(double number)
{
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

std::string ValueText(const OptionValue& value)
{
    struct Visitor
    {
        std::string operator()(bool is) const { return is ? "on" : "off"; }
        std::string operator()(std::int64_t number) const { return std::to_string(number); }
        std::string operator()(double number) const { return NumberText(number); }
        std::string operator()(const std::string& text) const { return text.empty() ? "none" : text; }
    };
    return std::visit(Visitor(), value);
}

// "1 to 64", "at least 1", "at most 64" or nothing.
std::string Range(const OptionDeclaration& declaration)
{
    const bool hasMinimum = std::isfinite(declaration.minimum);
    const bool hasMaximum = std::isfinite(declaration.maximum);
    return hasMinimum && hasMaximum ? NumberText(declaration.minimum) + " to " + NumberText(declaration.maximum)
           : hasMinimum             ? "at least " + NumberText(declaration.minimum)
           : hasMaximum             ? "at most " + NumberText(declaration.maximum)
                                    : std::string();
}

std::string Choices(const OptionDeclaration& declaration)
{
    std::string list;
    for (const std::string& choice : declaration.choices)
    {
        list += (list.empty() ? "" : ", ") + choice;
    }
    return list;
}

bool IsNumber(const OptionDeclaration& declaration) noexcept
{
    return std::holds_alternative<std::int64_t>(declaration.defaultValue) ||
           std::holds_alternative<double>(declaration.defaultValue);
}

} // namespace

std::optional<OptionValue> ReadOptionValue(const std::string& text, const OptionDeclaration& declaration)
{
    struct Visitor
    {
        const std::string& text;

        std::optional<OptionValue> operator()(bool) const { return ReadSwitch(text); }
        std::optional<OptionValue> operator()(std::int64_t) const { return ReadNumber<std::int64_t>(text); }
        std::optional<OptionValue> operator()(double) const { return ReadNumber<double>(text); }
        std::optional<OptionValue> operator()(const std::string&) const { return text; }
    };
    return std::visit(Visitor{text}, declaration.defaultValue);
}

bool IsAllowed(const OptionValue& value, const OptionDeclaration& declaration)
{
    const auto isInRange = [&](auto number)
    {
        // In long double, which holds every whole number of 64 bits here.
        const auto exact = static_cast<long double>(number);
        return exact >= static_cast<long double>(declaration.minimum) &&
               exact <= static_cast<long double>(declaration.maximum);
    };
    struct Visitor
    {
        const OptionDeclaration& declaration;
        const decltype(isInRange)& range;

        bool operator()(bool) const { return true; }
        bool operator()(std::int64_t number) const { return range(number); }
        bool operator()(double number) const { return std::isfinite(number) && range(number); }
        bool operator()(const std::string& text) const
        {
            const auto& choices = declaration.choices;
            return text.size() <= declaration.maxLength && text.find('\0') == std::string::npos &&
                   (choices.empty() || std::find(choices.begin(), choices.end(), text) != choices.end());
        }
    };
    return value.index() == declaration.defaultValue.index() && std::visit(Visitor{declaration, isInRange}, value);
}

std::string Allowed(const OptionDeclaration& declaration)
{
    if (IsNumber(declaration))
    {
        const bool isWhole = std::holds_alternative<std::int64_t>(declaration.defaultValue);
        const std::string range = Range(declaration);
        return std::string(isWhole ? "a whole number" : "a number") + (range.empty() ? "" : " of " + range);
    }
    if (std::holds_alternative<bool>(declaration.defaultValue))
    {
        return "a switch: on or off";
    }
    return declaration.choices.empty() ? "a text of at most " + std::to_string(declaration.maxLength) + " bytes"
                                       : "one of " + Choices(declaration);
}

std::string ValueName(const OptionDeclaration& declaration)
{
    return std::holds_alternative<bool>(declaration.defaultValue) ? "" : IsNumber(declaration) ? " NUMBER" : " TEXT";
}

std::string Limits(const OptionDeclaration& declaration)
{
    const std::string limits = IsNumber(declaration) ? Range(declaration) : Choices(declaration);
    return limits + (limits.empty() ? "" : "; ") + "default " + ValueText(declaration.defaultValue) + "; ";
}

std::string Quoted(const std::string& text)
{
    constexpr std::size_t maxQuoted = 80;
    std::string valid;
    Conversion::AppendReplacing(valid, std::string_view(text).substr(0, maxQuoted));
    std::replace_if(
        valid.begin(), valid.end(),
        [](char character) { return (character >= 0 && character < ' ') || character == '\x7F'; }, '?');
    return "\"" + valid + (text.size() > maxQuoted ? "...\"" : "\"");
}

} // namespace Ardo::Kiln::System
