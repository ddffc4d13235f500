#include "Ardo/Kiln/Conversion/String.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/Conversion/String_p.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string_view>

namespace Ardo::Kiln::Conversion
{

using ::testing::ThrowsMessage;

TEST(StringTest, TextSurvivesBothDirections)
{
    const std::pair<std::string, std::wstring> rows[] = {
        {"", L""},
        {"plain ASCII~", L"plain ASCII~"},
        {std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
        {"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80", L"\u007F\u0080\u07FF\u0800"},
        {"\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", L"\uD7FF\uE000\uFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\U00010000\U0010FFFF"},
        {"e\xCC\x81 \xC2\xB5m \xE9\x9B\xBB\xE5\xAD\x90 \xF0\x9F\x94\xAC", L"e\u0301 \u00B5m \u96FB\u5B50 \U0001F52C"},
        {"ASCII over many units, and then \xC3\x85", L"ASCII over many units, and then \u00C5"},
    };
    for (const auto& [utf8, wide] : rows)
    {
        EXPECT_EQ(String::FromUtf8(utf8), wide) << utf8;
        EXPECT_EQ(String::ToUtf8(wide), utf8) << utf8;
    }
}

TEST(StringTest, InvalidTextIsRefusedWithTheSystemsNumber)
{
    const auto refused = ThrowsMessage<std::range_error>("bad conversion, converting: 1113");

    for (const char* utf8 : {
             "\x80", "ok \xC3",              // a trail without a lead, a lead without a trail
             "\xC0\x80", "\xC1\xBF",         // overlong: two bytes
             "\xE0\x9F\xBF",                 // three
             "\xF0\x8F\xBF\xBF",             // four
             "\xED\xA0\x80", "\xED\xBF\xBF", // surrogates
             "\xF4\x90\x80\x80",             // the first value above 0x10FFFF
             "\xF5\x80\x80\x80", "\xFE",     // leads that never occur
             "\xE2\x82", "\xF0\x9F\x94",     // truncated tails
             "\xE2\x82(", "\xC3\xC3",        // a tail that is none
         })
    {
        EXPECT_THAT([&] { String::FromUtf8(utf8); }, refused) << utf8;
    }
    for (const std::uint32_t unit : {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU, 0x110000U, 0x80000000U, 0xFFFFFFFFU})
    {
        if (unit <= 0xFFFF || sizeof(wchar_t) == sizeof(unit))
        {
            EXPECT_THAT([&] { String::ToUtf8(std::wstring(L"a") + static_cast<wchar_t>(unit)); }, refused) << unit;
        }
    }
}

TEST(ReplacingTest, EachInvalidUnitBecomesOneReplacementAndTheRestStays)
{
    const std::pair<std::string_view, std::wstring_view> rows[] = {{"a\xC3\xA9", L"a\u00E9"},
                                                                   {"\xFF\xFEz", L"\uFFFD\uFFFDz"},
                                                                   {"\xE2\x82(", L"\uFFFD\uFFFD("},
                                                                   {"\xF0\x9F\x94", L"\uFFFD\uFFFD\uFFFD"}};
    for (const auto& [utf8, expected] : rows)
    {
        std::wstring wide = L"<";
        AppendReplacing(wide, utf8);
        EXPECT_EQ(wide, L"<" + std::wstring(expected)) << utf8;
        std::string valid;
        AppendReplacing(valid, utf8);
        EXPECT_EQ(valid, String::ToUtf8(std::wstring(expected))) << utf8;
    }
}

TEST(StringTest, LengthsBeyondTheSystemsAreRefused)
{
    constexpr std::size_t Limit = std::size_t{1} << 31;
    EXPECT_NO_THROW(CheckLength(Limit - 1));
    EXPECT_THAT([] { CheckLength(Limit); }, ThrowsMessage<std::range_error>("bad conversion, invalid parameter"));
}

} // namespace Ardo::Kiln::Conversion
