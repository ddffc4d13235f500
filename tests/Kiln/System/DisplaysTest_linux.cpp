#include "Ardo/Kiln/System/Displays_linux.h"

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

namespace Ardo::Kiln::System
{

namespace fs = std::filesystem;

TEST(DisplaysTest, ReadsWhatTheKernelLists)
{
    const Support::ScopedTempDir folder;
    const auto connect = [&](const char* name, const char* status, const std::string& modes, const std::string& edid)
    {
        fs::create_directory(folder / name);
        Support::WriteFile(folder / name / "status", status);
        Support::WriteFile(folder / name / "modes", modes);
        Support::WriteFile(folder / name / "edid", edid);
    };
    std::string edid(128, '\0');
    edid.replace(1, 6, "\xFF\xFF\xFF\xFF\xFF\xFF");
    edid.replace(21, 2, "\x3C\x22");
    edid.replace(72, 18, std::string("\0\0\0\xFC\0Model 27\xFF\n    ", 18));
    connect("card1-DP-2", "connected\n", "3840x2160\n1920x1080\n", edid);
    connect("card0-HDMI-A-1", "connected\n", "wrong\n", edid.substr(0, 100));
    connect("card0-DP-1", "disconnected\n", "1920x1080\n", "");
    connect("card1-eDP-1", "connected\n", "", std::string(128, '\xFF'));
    Support::WriteFile(folder / "version", "drm 1.1.0 20060810\n");

    const auto displays = ReadDisplays(folder.Path());
    ASSERT_EQ(displays.size(), 3U);
    EXPECT_EQ(displays[0].name, "HDMI-A-1");
    EXPECT_EQ(displays[0].width, 0);
    EXPECT_EQ(displays[0].physicalWidth, 0);
    EXPECT_EQ(displays[1].name, "Model 27\xEF\xBF\xBD");
    EXPECT_EQ(displays[1].width, 3840);
    EXPECT_EQ(displays[1].height, 2160);
    EXPECT_EQ(displays[1].physicalWidth, 0.6);
    EXPECT_EQ(displays[1].physicalHeight, 0.34);
    EXPECT_EQ(displays[2].name, "eDP-1");
    EXPECT_TRUE(ReadDisplays(folder / "missing").empty());
}

} // namespace Ardo::Kiln::System
