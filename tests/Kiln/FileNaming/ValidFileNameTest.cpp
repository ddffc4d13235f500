#include "Ardo/Kiln/FileNaming/ValidFileName.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <random>

namespace Ardo::Kiln::FileNaming
{

TEST(ValidFileNameTest, ChangesOnlyWhatASystemRefuses)
{
    const struct
    {
        const wchar_t* text;
        const wchar_t* name;
    } rows[] = {
        {L"Probe 7 \u7D30\u80DE \u00B5m +1.5", L"Probe 7 \u7D30\u80DE \u00B5m +1.5"},
        {L"a<b>c:d\"e/f\\g|h?i*j", L"a_b_c_d_e_f_g_h_i_j"},
        {L"../../etc/passwd", L"_._.._etc_passwd"},
        {L"line\nend\ttab\x1B[2J\x7F\u0085", L"line_end_tab_[2J__"},
        {L"gpj\u202Efit.exe", L"gpj_fit.exe"},
        {L"\u200Ea\u200Fb\u2066c\u2069d\u061Ce\u200Bf\uFEFFg", L"_a_b_c_d_e_f_g"},
        {L"family \U0001F468\u200D\U0001F469", L"family \U0001F468\u200D\U0001F469"},
        {L"  in the middle  ", L"in the middle"},
        {L"end. . .", L"end"},
        {L"\u3000wide\u00A0", L"wide"},
        {L".hidden", L"_hidden"},
        {L"...", L""},
        {L"", L""},
        {L" \t ", L"_"},
        {L"con", L"con_"},
        {L"NUL.tif", L"NUL_.tif"},
        {L"Com1.a.b", L"Com1_.a.b"},
        {L"lpt\u00B2", L"lpt\u00B2_"},
        {L"aux .txt", L"aux _.txt"},
        {L"CONIN$", L"CONIN$_"},
        {L"console", L"console"},
        {L"COM10", L"COM10"},
        {L"COM", L"COM"},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(ToValidFileName(row.text), row.name) << row.text;
        EXPECT_EQ(IsValidFileName(row.text), *row.text != 0 && std::wstring(row.text) == row.name) << row.text;
    }
    EXPECT_EQ(ToValidFileName(std::wstring(L"a\0b", 3)), L"a_b");
    EXPECT_EQ(ToValidFileName(std::wstring(1, static_cast<wchar_t>(0xDC80))), L"_");
}

TEST(ValidFileNameTest, CutsAtACharacter)
{
    EXPECT_EQ(ToValidFileName(std::wstring(1'000'000, L'a')).size(), 255U);
    EXPECT_EQ(ToValidFileName(std::wstring(200, L'\u7D30')), std::wstring(85, L'\u7D30'));
    EXPECT_EQ(ToValidFileName(L"\u7D30\u7D30", 5), L"\u7D30");
    EXPECT_EQ(ToValidFileName(L"abc d", 4), L"abc"); // no blank at the end
    EXPECT_EQ(ToValidFileName(L"a\U0001F468", 3), L"a");
    EXPECT_EQ(ToValidFileName(L"con", 3), L"_n_");
    EXPECT_EQ(ToValidFileName(L"abc", 0), L"a");
}

TEST(ValidFileNameTest, EveryResultIsAFileThatIsFoundAgain)
{
    const Support::ScopedTempDir folder;
    std::mt19937 random(42);
    const std::wstring alphabet = L"aZ.. \u00A0/\\:*\u202E\u0001\u00B5\u7D30\U0001F468\u0301nulCON1$";
    for (int i = 0; i < 500; ++i)
    {
        std::wstring text(random() % 200, L' ');
        for (wchar_t& unit : text)
        {
            unit = random() % 10 == 0 ? static_cast<wchar_t>(random() % 0xFFFF) : alphabet[random() % alphabet.size()];
        }
        const std::wstring name = ToValidFileName(text);
        EXPECT_EQ(ToValidFileName(name), name);
        EXPECT_LE(Conversion::String::ToUtf8(name).size(), MaxFileNameBytes);
        if (!name.empty())
        {
            const auto path = folder.Path() / FileSystem::ToPath(name);
            std::ofstream(path) << "x";
            EXPECT_EQ(FileSystem::ToWide(path.filename()), name);
            EXPECT_TRUE(std::filesystem::exists(path)) << path;
        }
    }
}

} // namespace Ardo::Kiln::FileNaming
