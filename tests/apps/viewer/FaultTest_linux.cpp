#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/VirtualDisplay.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

namespace Ardo::Kiln
{

namespace
{

constexpr const char* Window = "^Viewer$";

/// Runs the viewer on a screen in memory and lets a person press keys. Each step names the window that gets the
/// keyboard, as a regular expression, and the keys, as xdotool names them.
class ViewerFaultTest : public ::testing::Test
{
protected:
    struct Step
    {
        std::string window;
        std::string keys;
    };

    Support::ProcessResult Use(const std::vector<Step>& steps)
    {
        std::string script =
            Support::Quoted(KILN_VIEWER) + " --settings viewer.ini --log-folder log --language en & export pid=$!\n";
        for (const Step& step : steps)
        {
            // No window manager gives a window the keyboard.
            script += "timeout 120 sh -c " +
                      Support::Quoted("until xdotool search --onlyvisible --name '" + step.window +
                                      "' windowfocus --sync; do kill -0 $pid || exit; done 2>/dev/null") +
                      " || { kill $pid; echo no window " + Support::Quoted(step.window) + "; }\n" +
                      "xdotool key --delay 60 " + step.keys + "\n";
            if (step.window != Window)
            {
                // Until a dialog is gone the main window takes no keys.
                script += "timeout 120 sh -c " +
                          Support::Quoted("while xdotool search --onlyvisible --name '" + step.window +
                                          "'; do :; done >/dev/null 2>&1") +
                          "\n";
            }
        }
        script += "timeout 120 tail --pid=$pid -f /dev/null || kill -9 $pid\nwait $pid\n";
        const std::string variables =
            "export DISPLAY=" + m_display + " XDG_DATA_HOME=" + Support::Quoted((m_folder / "data").string()) +
            " QT_XCB_GL_INTEGRATION=none ASAN_OPTIONS=handle_segv=0:handle_abort=0:detect_leaks=0\n";
        return Support::RunShell(variables + script, m_folder.Path());
    }

    /// The files of that extension among the reports.
    std::vector<std::filesystem::path> Reports(const char* extension) const
    {
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_folder.Path()))
        {
            const bool isReport = entry.path().parent_path().filename() == "CrashDumps";
            if (isReport && entry.path().extension() == extension)
            {
                files.push_back(entry.path());
            }
        }
        return files;
    }

    const std::string m_display = Support::StartVirtualDisplay();
    Support::ScopedTempDir m_folder;
};

} // namespace

TEST_F(ViewerFaultTest, AFaultOfTheMainThreadEndsTheApplicationWithAReportThatItShowsNextTime)
{
    const Support::ProcessResult ended = Use({{Window, "alt+u m"}});
    EXPECT_EQ(ended.status, 128 + 11) << ended.output << ended.error;
    ASSERT_EQ(Reports(".txt").size(), 1u);
    EXPECT_EQ(Reports(".dmp").size(), 1u);
    EXPECT_THAT(Support::ReadFile(Reports(".txt")[0]), ::testing::HasSubstr("WriteToNowhere"));

    const std::string name = Reports(".txt")[0].stem().string();
    const Support::ProcessResult shown = Use({{Window, "alt+u l"}, {"^viewer_.*txt", "Escape"}, {Window, "ctrl+q"}});
    EXPECT_EQ(shown.status, 0) << shown.output << shown.error;
}

TEST_F(ViewerFaultTest, AFaultOfAWorkerIsShownAndTheApplicationGoesOn)
{
    const Support::ProcessResult result =
        Use({{Window, "alt+u f"}, {"^Error", "Return"}, {Window, "alt+u x"}, {"^Error", "Return"}, {Window, "ctrl+q"}});
    EXPECT_EQ(result.status, 0) << result.output << result.error;
    EXPECT_EQ(Reports(".txt").size(), 2u);
    EXPECT_EQ(Reports(".dmp").size(), 2u);
}

TEST_F(ViewerFaultTest, WarningsAndErrorsAreDialogs)
{
    const Support::ProcessResult result = Use({{Window, "alt+u w"},
                                               {"^Warning", "Escape"},
                                               {Window, "alt+u e"},
                                               {"^Error", "alt+n"},
                                               {Window, "alt+u c"},
                                               {"^Error", "alt+n"},
                                               {Window, "ctrl+q"}});
    EXPECT_EQ(result.status, 0) << result.output << result.error;
    EXPECT_TRUE(Reports(".txt").empty());
}

} // namespace Ardo::Kiln
