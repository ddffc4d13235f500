#include "Ardo/Kiln/Crash/VisibleText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace Ardo::Kiln::Crash
{

TEST(VisibleTextTest, StaysOnOneLineOfUtf8)
{
    using namespace std::string_view_literals;
    for (const auto& [text, shown] : std::initializer_list<std::pair<std::string_view, const char*>>{
             {"", ""},
             {"\xC2\xB5m, C:\\new \xF0\x9D\x84\x9E", "\xC2\xB5m, C:\\new \xF0\x9D\x84\x9E"},
             {"a\r\nb\tc\n", "a\\r\\nb\\tc\\n"},
             {"\0\x1B[2J\x7F"sv, "\\x00\\x1B[2J\\x7F"},
             {"\xC2\x85|\xC2\x9B|\xC2\xA0|\xE2\x80\xA8|\xE2\x80\xA9|\xE2\x80\xA7",
              "\\u0085|\\u009B|\xC2\xA0|\\u2028|\\u2029|\xE2\x80\xA7"},
             {"\xFF|\x80|\xC3|\xC0\x80|\xE0\x80\x80|\xED\xA0\x80",
              "\\xFF|\\x80|\\xC3|\\xC0\\x80|\\xE0\\x80\\x80|\\xED\\xA0\\x80"},
             {"\xF4\x90\x80\x80|\xF0\x80\x80\x80|\xE2\x80", "\\xF4\\x90\\x80\\x80|\\xF0\\x80\\x80\\x80|\\xE2\\x80"},
         })
    {
        char target[128];
        CopyVisible(target, text);
        EXPECT_STREQ(target, shown);
    }
}

TEST(VisibleTextTest, IsCutBetweenCharactersWithAMark)
{
    for (const std::string character : {"x", "\xC3\xA4", "\xE2\x82\xAC", "\n"})
    {
        std::string text;
        for (std::size_t length = 0; length < 200; ++length, text += character)
        {
            char target[65] = {};
            target[64] = '#';
            CopyVisible(target, 64, text);
            EXPECT_EQ(target[64], '#');
            const std::string shown = target;
            const std::string visible = character == "\n" ? "\\n" : character;
            const std::size_t kept = shown.find(" [cut");
            EXPECT_EQ(kept == std::string::npos, visible.size() * length < 64) << length;
            const std::string head = shown.substr(0, kept);
            EXPECT_EQ(head.size() % visible.size(), 0U);
            EXPECT_TRUE(kept == std::string::npos ||
                        (kept > 20 && shown.substr(kept) == " [cut: " + std::to_string(text.size()) + " bytes]"))
                << shown;
        }
    }
}

} // namespace Ardo::Kiln::Crash
