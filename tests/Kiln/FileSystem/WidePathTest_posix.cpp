#include "Ardo/Kiln/FileSystem/WidePath.h"

#include "Ardo/Kiln/Conversion/String.h"

#include <gmock/gmock.h>

#include <locale>
#include <random>
#include <stdexcept>

namespace Ardo::Kiln::FileSystem
{

TEST(WidePathTest, NamesOfAnyBytesComeBackAsTheyWere)
{
    const struct
    {
        std::string name;
        std::wstring wide;
        std::string text;
    } rows[] = {
        {"", L"", ""},
        {"/plain/ä 名前 🔬.tif", L"/plain/\u00E4 \u540D\u524D \U0001F52C.tif", "/plain/ä 名前 🔬.tif"},
        {"b\xE4r.tif", L"b\xDCE4r.tif", "b\uFFFDr.tif"},
        {"\xFF\x80", L"\xDCFF\xDC80", "\uFFFD\uFFFD"},
        {"\xC3\xC3\xA4\xE2\x82", L"\xDCC3\u00E4\xDCE2\xDC82", "\uFFFDä\uFFFD\uFFFD"}, // begun characters, a whole one
        {"\xED\xB3\xA4", L"\xDCED\xDCB3\xDCA4", "\uFFFD\uFFFD\uFFFD"},                // an escape's own code in UTF-8
        {"\xC0\xAF", L"\xDCC0\xDCAF", "\uFFFD\uFFFD"},                                // overlong: no folder appears
        {std::string("a\0b", 3), std::wstring(L"a\0b", 3), std::string("a\0b", 3)},
    };
    for (const auto& [name, wide, text] : rows)
    {
        EXPECT_EQ(ToWide(name), wide) << name;
        EXPECT_EQ(ToPath(wide).native(), name) << name;
        EXPECT_EQ(ToDisplayText(name), text) << name;
    }

    std::mt19937 generator;
    for (int round = 0; round < 20'000; ++round)
    {
        std::string name(generator() % 12, '\0');
        for (char& unit : name)
        {
            // Mostly bytes of which long characters consist.
            unit = static_cast<char>(generator() % 4 == 0 ? generator() : 0x80 | generator());
        }
        ASSERT_EQ(ToPath(ToWide(name)).native(), name);
        ASSERT_NO_THROW(Conversion::String::FromUtf8(ToDisplayText(name)));
    }
}

TEST(WidePathTest, TheLocaleDoesNotMatterAndOtherWideTextIsRefused)
{
    const std::locale before = std::locale::global(std::locale::classic());
    EXPECT_EQ(ToWide("ä.tif"), L"\u00E4.tif");
    EXPECT_EQ(ToPath(L"\u00E4.tif").native(), "ä.tif");
    std::locale::global(before);

    for (const std::uint32_t unit : {0xD800U, 0xDC7FU, 0xDD00U, 0x110000U})
    {
        const std::wstring text = L"\xDCE4" + std::wstring(1, static_cast<wchar_t>(unit));
        EXPECT_THAT([&] { ToPath(text); }, testing::ThrowsMessage<std::range_error>("bad conversion, converting: 1113"))
            << unit;
    }
}

} // namespace Ardo::Kiln::FileSystem
