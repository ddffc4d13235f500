#include "Ardo/Imaging/ColourTable.h"

#include "Ardo/Imaging/ColourTableValues_p.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Ardo::Imaging
{

namespace
{

using Colour = ColourTable::Colour;

constexpr std::array<std::string_view, 7> TableNames = {"grey",    "inverted", "viridis", "magma",
                                                        "inferno", "plasma",   "cividis"};
constexpr std::string_view ReversedSuffix = "-reversed";
constexpr std::size_t MostBytes = 65'536;

constexpr std::array<Colour, ColourTable::Size> MakeGrey()
{
    std::array<Colour, ColourTable::Size> colours;
    for (std::size_t i = 0; i < colours.size(); ++i)
    {
        const auto level = static_cast<unsigned char>(i);
        colours[i] = {level, level, level};
    }
    return colours;
}

constexpr unsigned char HexByte(std::string_view text)
{
    const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'a' + 10; };
    return static_cast<unsigned char>(digit(text[0]) * 16 + digit(text[1]));
}

consteval std::array<Colour, ColourTable::Size> FromHex(std::string_view text)
{
    std::array<Colour, ColourTable::Size> colours;
    for (std::size_t i = 0; i < colours.size(); ++i)
    {
        const std::string_view digits = text.substr(6 * i, 6);
        colours[i] = {HexByte(digits), HexByte(digits.substr(2)), HexByte(digits.substr(4))};
    }
    return colours;
}

constexpr std::array<Colour, ColourTable::Size> Grey = MakeGrey();
constexpr std::array<std::array<Colour, ColourTable::Size>, 5> Uniform = {
    FromHex(ColourTableValues::Viridis), FromHex(ColourTableValues::Magma), FromHex(ColourTableValues::Inferno),
    FromHex(ColourTableValues::Plasma), FromHex(ColourTableValues::Cividis)};

constexpr bool IsSeparator(char c)
{
    return c == ' ' || c == '\t' || c == ',' || c == ';';
}

constexpr bool IsLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

[[noreturn]] void Refuse(std::size_t line, const std::string& fault)
{
    throw std::invalid_argument("colour table, line " + std::to_string(line) + ": " + fault);
}

/// The numbers of a line, at most four.
std::vector<unsigned> Numbers(std::string_view text, std::size_t line)
{
    constexpr std::size_t MostNumbers = 4;
    std::vector<unsigned> numbers;
    const char* at = text.data();
    const char* const end = at + text.size();
    while ((at = std::find_if_not(at, end, IsSeparator)) != end)
    {
        unsigned number = 0;
        const auto [after, error] = std::from_chars(at, end, number);
        if (error == std::errc::invalid_argument || (after != end && !IsSeparator(*after)))
        {
            Refuse(line, "not a whole number without a sign");
        }
        if (error != std::errc() || number >= ColourTable::Size)
        {
            Refuse(line, "a number is not between 0 and 255");
        }
        if (numbers.size() == MostNumbers)
        {
            Refuse(line, "more than four numbers");
        }
        numbers.push_back(number);
        at = after;
    }
    return numbers;
}

/// The colours of a text in their order.
std::vector<Colour> ParseLines(std::string_view text)
{
    std::vector<Colour> colours;
    std::optional<std::size_t> columns;
    for (std::size_t line = 1; !text.empty(); ++line)
    {
        const std::size_t length = text.find('\n');
        std::string_view row = text.substr(0, length);
        text.remove_prefix(length == std::string_view::npos ? text.size() : length + 1);
        if (row.ends_with('\r'))
        {
            row.remove_suffix(1);
        }
        if (row.starts_with('#') || (line == 1 && !row.empty() && IsLetter(row.front())))
        {
            continue;
        }
        const std::vector<unsigned> numbers = Numbers(row, line);
        if (numbers.empty())
        {
            continue;
        }
        if (numbers.size() < 3 || numbers.size() != columns.value_or(numbers.size()))
        {
            Refuse(line, columns ? "not as many numbers as in the lines above" : "fewer than three numbers");
        }
        columns = numbers.size();
        if (colours.size() == ColourTable::Size)
        {
            Refuse(line, "more than 256 colours");
        }
        if (numbers.size() == 4 && numbers[0] != colours.size())
        {
            Refuse(line, "the index is " + std::to_string(numbers[0]) + ", not " + std::to_string(colours.size()));
        }
        const auto sample = [&](std::size_t back)
        { return static_cast<unsigned char>(numbers[numbers.size() - back]); };
        colours.push_back({sample(3), sample(2), sample(1)});
    }
    if (colours.size() < 2)
    {
        throw std::invalid_argument("colour table: neither 768 bytes nor at least two lines of three numbers");
    }
    return colours;
}

ColourTable Interpolate(const std::vector<Colour>& colours)
{
    std::array<Colour, ColourTable::Size> table;
    for (std::size_t i = 0; i < table.size(); ++i)
    {
        // Exact for 256 colours: the position is then a whole number.
        const std::size_t scaled = i * (colours.size() - 1);
        const std::size_t below = scaled / (table.size() - 1);
        const auto part = static_cast<double>(scaled % (table.size() - 1)) / static_cast<double>(table.size() - 1);
        const Colour& first = colours[below];
        const Colour& second = colours[std::min(below + 1, colours.size() - 1)];
        const auto between = [part](unsigned char from, unsigned char to)
        { return static_cast<unsigned char>(std::lround(from + part * (to - from))); };
        table[i] = {between(first.red, second.red), between(first.green, second.green),
                    between(first.blue, second.blue)};
    }
    return ColourTable(table);
}

/// True if \p contents can be a text of numbers: 768 bytes of samples contain other bytes than these.
bool IsText(std::string_view contents)
{
    return std::ranges::all_of(
        contents, [](char c)
        { return IsSeparator(c) || IsLetter(c) || (c >= '0' && c <= '9') || c == '\r' || c == '\n' || c == '#'; });
}

} // namespace

ColourTable::ColourTable() noexcept : m_colours(Grey) {}

ColourTable ColourTable::Named(std::string_view name)
{
    std::string_view plain = name;
    const bool isReversed = plain.ends_with(ReversedSuffix);
    plain.remove_suffix(isReversed ? ReversedSuffix.size() : 0);
    const auto found = std::ranges::find(TableNames, plain);
    if (found == TableNames.end())
    {
        std::string text = "colour table: '" + std::string(name) + "' is none of";
        for (const std::string_view known : TableNames)
        {
            text.append(" ").append(known);
        }
        throw std::invalid_argument(text);
    }
    const auto index = static_cast<std::size_t>(found - TableNames.begin());
    const ColourTable table(index < 2 ? Grey : Uniform[index - 2]);
    return (index == 1) != isReversed ? table.Reversed() : table;
}

std::span<const std::string_view> ColourTable::Names() noexcept
{
    return TableNames;
}

ColourTable ColourTable::Parse(std::string_view contents)
{
    if (contents.size() > MostBytes)
    {
        throw std::invalid_argument("colour table: longer than 65,536 bytes");
    }
    if (contents.size() != 3 * Size || IsText(contents))
    {
        return Interpolate(ParseLines(contents));
    }
    std::array<Colour, Size> colours;
    for (std::size_t i = 0; i < Size; ++i)
    {
        const auto sample = [&](std::size_t channel)
        { return static_cast<unsigned char>(contents[channel * Size + i]); };
        colours[i] = {sample(0), sample(1), sample(2)};
    }
    return ColourTable(colours);
}

ColourTable ColourTable::Reversed() const noexcept
{
    ColourTable reversed(*this);
    std::ranges::reverse(reversed.m_colours);
    return reversed;
}

bool ColourTable::IsGrey() const noexcept
{
    return std::ranges::all_of(m_colours, [](const Colour& colour)
                               { return colour.red == colour.green && colour.green == colour.blue; });
}

} // namespace Ardo::Imaging
