#include "Ardo/Kiln/MetadataSerializer/LeafText_p.h"

#include "Ardo/Kiln/Time/IsoString.h"
#include "Ardo/Kiln/Time/ReadIsoString.h"

#include <algorithm>
#include <boost/property_tree/exceptions.hpp>
#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

constexpr bool IsSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::string_view Trimmed(std::string_view text)
{
    while (!text.empty() && IsSpace(text.front()))
    {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsSpace(text.back()))
    {
        text.remove_suffix(1);
    }
    return text;
}

/// True for \p word in letters of either case.
/// \param word in small letters.
bool IsWord(std::string_view text, std::string_view word)
{
    return std::equal(text.begin(), text.end(), word.begin(), word.end(),
                      [](char a, char b) { return (a | 0x20) == b; });
}

/// True if the magnitude of a number without a sign is below 1, judged by its digits: std::from_chars does not tell a
/// value that is too small from one that is too large.
bool IsBelowOne(std::string_view number)
{
    long long order = 0;
    bool significant = false;
    bool fraction = false;
    std::size_t at = 0;
    for (; at < number.size() && (IsDigit(number[at]) || number[at] == '.'); ++at)
    {
        fraction = fraction || number[at] == '.';
        significant = significant || (number[at] != '0' && number[at] != '.');
        if (IsDigit(number[at]) && significant != fraction)
        {
            order += significant ? 1 : -1; // digits before the point, zeros after it
        }
    }
    if (at + 1 < number.size())
    {
        ++at; // the 'e'
        const bool negative = number[at] == '-';
        long long exponent = 0;
        for (at += negative || number[at] == '+' ? 1U : 0U; at < number.size() && exponent < 1'000'000'000; ++at)
        {
            exponent = exponent * 10 + (number[at] - '0');
        }
        order += negative ? -exponent : exponent;
    }
    return order <= 0;
}

} // namespace

template <typename Number>
NumberResult ParseNumber(std::string_view text, Number& value, bool* lost)
{
    std::string_view number = Trimmed(text);
    const bool negative = number.starts_with('-');
    if (negative || number.starts_with('+'))
    {
        number.remove_prefix(1);
    }
    if (number.empty())
    {
        return NumberResult::Invalid;
    }
    const char* const end = number.data() + number.size();
    if constexpr (std::is_floating_point_v<Number>)
    {
        Number magnitude = 0;
        if (IsWord(number, "nan"))
        {
            magnitude = std::numeric_limits<Number>::quiet_NaN();
        }
        else if (IsWord(number, "inf") || IsWord(number, "infinity"))
        {
            magnitude = std::numeric_limits<Number>::infinity();
        }
        else
        {
            if (!IsDigit(number.front()) && number.front() != '.')
            {
                return NumberResult::Invalid;
            }
            const auto [stop, error] = std::from_chars(number.data(), end, magnitude);
            if (stop != end || error == std::errc::invalid_argument)
            {
                return NumberResult::Invalid;
            }
            if (error != std::errc())
            {
                if (!IsBelowOne(number))
                {
                    return NumberResult::OutOfRange;
                }
                magnitude = 0;
                if (lost != nullptr)
                {
                    *lost = true;
                }
            }
        }
        value = std::copysign(magnitude, negative ? Number(-1) : Number(1));
        return NumberResult::Done;
    }
    else
    {
        if (!IsDigit(number.front()))
        {
            return NumberResult::Invalid;
        }
        // The sign is parsed with the digits, because the magnitude of the smallest value does not fit the type.
        Number result = 0;
        const char* const begin = negative && std::is_signed_v<Number> ? number.data() - 1 : number.data();
        const auto [stop, error] = std::from_chars(begin, end, result);
        if (stop != end)
        {
            return NumberResult::Invalid;
        }
        if (error != std::errc() || (negative && std::is_unsigned_v<Number> && result != 0))
        {
            return NumberResult::OutOfRange;
        }
        value = result;
        return NumberResult::Done;
    }
}

template <typename Number>
void FormatNumber(Number value, std::string& text)
{
    char buffer[40];
    if constexpr (std::is_floating_point_v<Number>)
    {
        if (!std::isfinite(value))
        {
            text = std::signbit(value) ? "-" : "";
            text += std::isnan(value) ? "nan" : "inf";
            return;
        }
        const auto result = std::to_chars(std::begin(buffer), std::end(buffer), value, std::chars_format::general,
                                          std::numeric_limits<Number>::max_digits10);
        text.assign(std::begin(buffer), result.ptr);
    }
    else
    {
        text.assign(std::begin(buffer), std::to_chars(std::begin(buffer), std::end(buffer), value).ptr);
    }
}

template KILN_EXPORT_FOR_TESTS NumberResult ParseNumber(std::string_view, std::int32_t&, bool*);
template KILN_EXPORT_FOR_TESTS NumberResult ParseNumber(std::string_view, std::uint32_t&, bool*);
template KILN_EXPORT_FOR_TESTS NumberResult ParseNumber(std::string_view, std::int64_t&, bool*);
template KILN_EXPORT_FOR_TESTS NumberResult ParseNumber(std::string_view, std::uint64_t&, bool*);
template KILN_EXPORT_FOR_TESTS NumberResult ParseNumber(std::string_view, float&, bool*);
template KILN_EXPORT_FOR_TESTS NumberResult ParseNumber(std::string_view, double&, bool*);
template KILN_EXPORT_FOR_TESTS void FormatNumber(std::int32_t, std::string&);
template KILN_EXPORT_FOR_TESTS void FormatNumber(std::uint32_t, std::string&);
template KILN_EXPORT_FOR_TESTS void FormatNumber(std::int64_t, std::string&);
template KILN_EXPORT_FOR_TESTS void FormatNumber(std::uint64_t, std::string&);
template KILN_EXPORT_FOR_TESTS void FormatNumber(float, std::string&);
template KILN_EXPORT_FOR_TESTS void FormatNumber(double, std::string&);

void ToText(bool value, std::string& text)
{
    text = value ? "true" : "false";
}

void ToText(std::int32_t value, std::string& text)
{
    FormatNumber(value, text);
}

void ToText(double value, std::string& text)
{
    FormatNumber(value, text);
}

void ToText(const std::string& value, std::string& text)
{
    text = value;
}

void ToText(const MetadataLib::Uuid& value, std::string& text)
{
    constexpr std::string_view Digits = "0123456789abcdef";
    text.clear();
    text.reserve(36);
    for (std::size_t i = 0; i < value.bytes.size(); ++i)
    {
        if (i == 4 || i == 6 || i == 8 || i == 10)
        {
            text += '-';
        }
        text += Digits[value.bytes[i] >> 4U];
        text += Digits[value.bytes[i] & 0xFU];
    }
}

void ToText(MetadataLib::TimePoint value, std::string& text)
{
    text = Time::ToUtcTimeISOString(value);
    if (text.empty())
    {
        BOOST_PROPERTY_TREE_THROW(boost::property_tree::ptree_bad_data(
            "a time outside the years 1 to 9999 has no text", std::to_string(value.time_since_epoch().count())));
    }
}

bool FromText(std::string_view text, bool& value)
{
    const std::string_view word = Trimmed(text);
    std::int32_t number = 0;
    if (word == "true" || word == "false")
    {
        value = word == "true";
        return true;
    }
    if (ParseNumber(word, number) != NumberResult::Done || number < 0 || number > 1)
    {
        return false;
    }
    value = number == 1;
    return true;
}

bool FromText(std::string_view text, std::int32_t& value)
{
    return ParseNumber(text, value) == NumberResult::Done;
}

bool FromText(std::string_view text, double& value)
{
    return ParseNumber(text, value) == NumberResult::Done;
}

bool FromText(std::string_view text, std::string& value)
{
    value = text;
    return true;
}

bool FromText(std::string_view text, MetadataLib::Uuid& value)
{
    const std::string_view digits = Trimmed(text);
    if (digits.size() != 36)
    {
        return false;
    }
    MetadataLib::Uuid result;
    std::size_t at = 0;
    for (std::size_t i = 0; i < result.bytes.size(); ++i)
    {
        if ((i == 4 || i == 6 || i == 8 || i == 10) && digits[at++] != '-')
        {
            return false;
        }
        const char* const first = digits.data() + at;
        if (std::from_chars(first, first + 2, result.bytes[i], 16).ptr != first + 2)
        {
            return false;
        }
        at += 2;
    }
    value = result;
    return true;
}

bool FromText(std::string_view text, MetadataLib::TimePoint& value)
{
    const auto time = Time::ReadISOString(std::string(Trimmed(text)));
    // An offset can move a time out of the years that can be written.
    if (!time || Time::ToUtcTimeISOString(*time).empty())
    {
        return false;
    }
    value = *time;
    return true;
}

} // namespace Ardo::Kiln::MetadataSerializer
