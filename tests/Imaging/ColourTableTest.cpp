#include "Ardo/Imaging/ColourTable.h"

#include <gmock/gmock.h>

#include <set>
#include <stdexcept>
#include <string>
#include <tuple>

namespace Ardo::Imaging
{

namespace
{

using Colour = ColourTable::Colour;

double Brightness(const Colour& colour)
{
    return 0.2126 * colour.red + 0.7152 * colour.green + 0.0722 * colour.blue;
}

TEST(ColourTableTest, TheTablesAreThePublishedOnes)
{
    // First, middle and last colour as their authors and the common plotting programs show them.
    const std::tuple<const char*, Colour, Colour, Colour> tables[] = {
        {"grey", {0, 0, 0}, {128, 128, 128}, {255, 255, 255}},
        {"inverted", {255, 255, 255}, {127, 127, 127}, {0, 0, 0}},
        {"viridis", {0x44, 0x01, 0x54}, {0x21, 0x91, 0x8c}, {0xfd, 0xe7, 0x25}},
        {"magma", {0x00, 0x00, 0x04}, {0xb7, 0x37, 0x79}, {0xfc, 0xfd, 0xbf}},
        {"inferno", {0x00, 0x00, 0x04}, {0xbc, 0x37, 0x54}, {0xfc, 0xff, 0xa4}},
        {"plasma", {0x0d, 0x08, 0x87}, {0xcc, 0x47, 0x78}, {0xf0, 0xf9, 0x21}},
        {"cividis", {0x00, 0x22, 0x4e}, {0x7d, 0x7c, 0x78}, {0xfe, 0xe8, 0x38}},
    };
    ASSERT_EQ(ColourTable::Names().size(), std::size(tables));
    for (std::size_t i = 0; i < std::size(tables); ++i)
    {
        const auto& [name, first, middle, last] = tables[i];
        SCOPED_TRACE(name);
        EXPECT_EQ(ColourTable::Names()[i], name);
        const ColourTable table = ColourTable::Named(name);
        EXPECT_EQ(table[0], first);
        EXPECT_EQ(table[128], middle);
        EXPECT_EQ(table[255], last);
        EXPECT_EQ(table.IsGrey(), i < 2);
        EXPECT_EQ(ColourTable::Named(name + std::string("-reversed")), table.Reversed());
        for (std::size_t level = 1; level < ColourTable::Size && i != 1; ++level)
        {
            EXPECT_GE(Brightness(table[level]), Brightness(table[level - 1]) - 0.8) << level;
        }
    }
    EXPECT_EQ(ColourTable(), ColourTable::Named("grey"));
    EXPECT_EQ(ColourTable::Named("grey-reversed"), ColourTable::Named("inverted"));
}

TEST(ColourTableTest, ReadsBytesAndTexts)
{
    std::string planes;
    std::string text = "Index\tRed\tGreen\tBlue\r\n# a comment\n\n";
    for (int channel = 0; channel < 3; ++channel)
    {
        for (int i = 0; i < 256; ++i)
        {
            planes += static_cast<char>(channel == 0 ? i : channel == 1 ? 255 - i : i / 2);
        }
    }
    for (int i = 0; i < 256; ++i)
    {
        text += std::to_string(i) + '\t' + std::to_string(i) + " , " + std::to_string(255 - i) + ';' +
                std::to_string(i / 2) + (i % 2 == 0 ? "\r\n" : "\n");
    }
    const ColourTable table = ColourTable::Parse(planes);
    EXPECT_EQ(table[200], (Colour{200, 55, 100}));
    EXPECT_EQ(ColourTable::Parse(text), table);

    const ColourTable interpolated = ColourTable::Parse("0 0 0\n100 0 0\n100 255 10");
    EXPECT_EQ(interpolated[0], (Colour{0, 0, 0}));
    EXPECT_EQ(interpolated[51], (Colour{40, 0, 0}));
    EXPECT_EQ(interpolated[204], (Colour{100, 153, 6}));
    EXPECT_EQ(interpolated[255], (Colour{100, 255, 10}));

    // A text that happens to be as long as the bytes of a table.
    std::string two = "0 0 0\n255 255 255\n";
    two.resize(768, '\n');
    EXPECT_EQ(ColourTable::Parse(two), ColourTable());
}

TEST(ColourTableTest, RefusesOtherContents)
{
    const std::string triple = "1 2 3\n";
    std::string many;
    for (int i = 0; i < 257; ++i)
    {
        many += triple;
    }
    const std::pair<std::string, const char*> cases[] = {
        {"", "neither 768 bytes nor at least two lines"},
        {triple, "neither 768 bytes nor at least two lines"},
        {"1 2 3\n1 2\n", "line 2: not as many numbers"},
        {"1 2\n", "line 1: fewer than three numbers"},
        {"1 2 3\n1 2 256\n", "line 2: a number is not between 0 and 255"},
        {"1 2 3\n1 2 99999999999999999999\n", "line 2: a number is not between 0 and 255"},
        {"1 2 3\n1 -2 3\n", "line 2: not a whole number"},
        {"1 2 3\n1 2.5 3\n", "line 2: not a whole number"},
        {"1 2 3\n1 2 0x3\n", "line 2: not a whole number"},
        {"1 2 3\nred green blue\n", "line 2: not a whole number"},
        {"1 2 3 4 5\n", "line 1: more than four numbers"},
        {"0 2 3 4\n2 2 3 4\n", "line 2: the index is 2, not 1"},
        {many, "line 257: more than 256 colours"},
        {std::string(767, '\x80'), "line 1: not a whole number"},
        {std::string(1, '\0') + triple, "line 1: not a whole number"},
        {std::string(65'537, '\n'), "longer than 65,536 bytes"},
    };
    for (const auto& [contents, fault] : cases)
    {
        const auto parse = [text = &contents] { static_cast<void>(ColourTable::Parse(*text)); };
        EXPECT_THAT(parse, testing::ThrowsMessage<std::invalid_argument>(testing::HasSubstr(fault)))
            << contents.substr(0, 40);
    }
    for (const char* const name : {"", "Grey", "viridis ", "-reversed", "grey-reversed-reversed"})
    {
        EXPECT_THAT([&] { static_cast<void>(ColourTable::Named(name)); },
                    testing::ThrowsMessage<std::invalid_argument>(testing::HasSubstr("magma inferno")));
    }
}

} // namespace

} // namespace Ardo::Imaging
