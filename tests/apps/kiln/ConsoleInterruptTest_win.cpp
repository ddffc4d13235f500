#include "apps/kiln/ConsoleInterrupt.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <windows.h>

namespace Ardo::Kiln::Tool
{

TEST(ConsoleInterruptDeathTest, CtrlCIsRemembered)
{
    const auto pressCtrlC = []
    {
        ::FreeConsole();
        ::AllocConsole();                        // no other process receives the event
        ::SetConsoleCtrlHandler(nullptr, FALSE); // a parent may have made it ignore Ctrl-C
        const ConsoleInterrupt interrupt;
        if (interrupt.IsRequested() || !::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0))
        {
            std::_Exit(1);
        }
        while (!interrupt.IsRequested()) // the test has a time limit
        {
            ::Sleep(10);
        }
        std::_Exit(0);
    };
    EXPECT_EXIT(pressCtrlC(), testing::ExitedWithCode(0), "");
}

} // namespace Ardo::Kiln::Tool
