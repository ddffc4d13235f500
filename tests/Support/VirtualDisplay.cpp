#include "tests/Support/VirtualDisplay.h"

#include "tests/Support/Process.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace Ardo::Kiln::Support
{

VirtualDisplay::VirtualDisplay()
{
    // It chooses a free number and writes it to the pipe when it is ready.
    FILE* const pipe = popen("Xvfb -displayfd 3 -terminate -nolisten tcp -screen 0 1024x768x24 "
                             "3>&1 >/dev/null 2>&1 </dev/null & echo $!",
                             "r");
    int number = -1;
    EXPECT_EQ(std::fscanf(pipe, "%d %d", &m_process, &number), 2) << "Xvfb does not start";
    pclose(pipe);
    setenv("DISPLAY", (":" + std::to_string(number)).c_str(), 1);
}

VirtualDisplay::~VirtualDisplay()
{
    unsetenv("DISPLAY");
    if (m_process > 0)
    {
        kill(m_process, SIGTERM);
    }
}

bool VirtualDisplay::Press(const std::string& title, const std::string& keys)
{
    // There is no window manager that would give the window the keyboard. The keys go to whatever has it, as a person's
    // do: the window may be gone with the first of them.
    const std::string search =
        "xdotool search --onlyvisible --name " + Quoted("^" + title + "$") + " windowfocus --sync";
    const ProcessResult result = RunShell("timeout 60 sh -c " + Quoted("until " + search + "; do :; done 2>/dev/null") +
                                              " && xdotool key --delay 30 " + keys,
                                          "/");
    EXPECT_EQ(result.status, 0) << result.error;
    return result.status == 0;
}

} // namespace Ardo::Kiln::Support
