#include "Ardo/Kiln/Platform/Utf.h"

#include <gtest/gtest.h>

namespace Ardo::Kiln::Platform
{

namespace
{

constexpr std::uint32_t NoUnicodeTranslation = 1113;

/// The bit patterns of UTF-8, for any value below 2^21: also for those that are no characters.
std::string Encoded(std::uint32_t value)
{
    const auto trail = [&](unsigned shift) { return static_cast<char>(0x80U | ((value >> shift) & 0x3FU)); };
    if (value < 0x80)
    {
        return {static_cast<char>(value)};
    }
    if (value < 0x800)
    {
        return {static_cast<char>(0xC0U | (value >> 6U)), trail(0)};
    }
    if (value < 0x10000)
    {
        return {static_cast<char>(0xE0U | (value >> 12U)), trail(6), trail(0)};
    }
    return {static_cast<char>(0xF0U | (value >> 18U)), trail(12), trail(6), trail(0)};
}

/// UTF-16 where a unit has 16 bits, else the value itself.
std::wstring WideEncoded(std::uint32_t value)
{
    if (sizeof(wchar_t) > 2 || value < 0x10000)
    {
        return {static_cast<wchar_t>(value)};
    }
    const std::uint32_t rest = value - 0x10000;
    return {static_cast<wchar_t>(0xD800 + (rest >> 10U)), static_cast<wchar_t>(0xDC00 + (rest & 0x3FFU))};
}

} // namespace

TEST(UtfTest, EveryCharacterIsConvertedAndEveryOtherValueRefused)
{
    std::string utf8;
    std::wstring wide;
    std::string characters;
    std::wstring units;
    for (std::uint32_t value = 0; value < 0x110000 + 0x1000; ++value)
    {
        const bool isCharacter = value < 0xD800 || (value > 0xDFFF && value < 0x110000);
        const std::string bytes = Encoded(value);
        const std::wstring unit = WideEncoded(value);
        if (isCharacter)
        {
            characters += bytes;
            units += unit;
        }
        else
        {
            ASSERT_EQ(Utf8ToWide("ok" + bytes + "ok", wide), NoUnicodeTranslation) << value;
            // Above 0x10FFFF there is no UTF-16, so only one system has such a unit.
            if (sizeof(wchar_t) > 2 || value < 0x10000)
            {
                ASSERT_EQ(WideToUtf8(L"ok" + unit + L"ok", utf8), NoUnicodeTranslation) << value;
            }
        }
    }
    EXPECT_EQ(Utf8ToWide(characters, wide), 0U);
    EXPECT_TRUE(wide == units);
    EXPECT_EQ(WideToUtf8(units, utf8), 0U);
    EXPECT_TRUE(utf8 == characters);
    for (const std::uint32_t value : {0x80000000U, 0xFFFFFFFFU})
    {
        if (sizeof(wchar_t) == 2)
        {
            break;
        }
        EXPECT_EQ(WideToUtf8(std::wstring(1, static_cast<wchar_t>(value)), utf8), NoUnicodeTranslation) << value;
    }
}

TEST(UtfTest, TheResultReplacesWhatWasThere)
{
    std::wstring wide = L"former";
    EXPECT_EQ(Utf8ToWide(std::string_view("a\0\xC2\xB5", 4), wide), 0U);
    EXPECT_EQ(wide, std::wstring(L"a\0\u00B5", 3));
    std::string utf8 = "former";
    EXPECT_EQ(WideToUtf8(wide, utf8), 0U);
    EXPECT_EQ(utf8, std::string("a\0\xC2\xB5", 4));
    for (const char* text :
         {"\x80", "\xC3", "\xC0\x80", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xF8\x88\x80\x80\x80", "\xE2\x82(", "\xFF"})
    {
        EXPECT_EQ(Utf8ToWide(text, wide), NoUnicodeTranslation) << text;
    }
}

} // namespace Ardo::Kiln::Platform
