#include "Ardo/Kiln/Exception/Handler.h"

#include <cstring>

namespace
{

int* volatile g_nothing = nullptr;
volatile int g_number = 0;

/// The scenario "before-main": main has not begun, so the arguments are looked at here.
[[gnu::constructor]] void FaultBeforeMain(int count, char** arguments, char**)
{
    using Ardo::Kiln::Exception::Handler;
    if (count == 2 && std::strcmp(arguments[1], "before-main") == 0)
    {
        Handler::SetFlags(Handler::CatchUncaught);
        g_number = *g_nothing; // <- before-main
    }
}

} // namespace
