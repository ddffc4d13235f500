#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace Ardo::Kiln::Support
{

/// Starts a screen of X11 in memory, with a keyboard and a mouse of its own. It ends 20 seconds after its last client:
/// a program that looks for a window is a client, too, and comes and goes before the window is there.
/// \returns its name, for the variable DISPLAY.
inline std::string StartVirtualDisplay()
{
    // It chooses a free number and writes it to the pipe when it is ready.
    FILE* const pipe =
        popen("Xvfb -displayfd 3 -terminate 20 -nolisten tcp -screen 0 1280x1024x24 3>&1 >/dev/null 2>&1 "
              "</dev/null &",
              "r");
    int number = -1;
    EXPECT_EQ(std::fscanf(pipe, "%d", &number), 1) << "Xvfb does not start";
    pclose(pipe);
    return ":" + std::to_string(number);
}

} // namespace Ardo::Kiln::Support
