#pragma once

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"

#include <functional>

namespace Ardo::Kiln::Crash::Sample
{

/// Registers of the place in Place() where it calls back, and the numbers of the lines of its callers.
struct Point
{
    Crash::CrashRequest request;
    std::uint32_t inlinedLine = 0; ///< In Place(), which the compiler inlined into Middle().
    std::uint32_t middleLine = 0;  ///< In Middle(), where Place() is inlined.
    std::uint32_t outerLine = 0;   ///< In Outer(), where Middle() is called.
};

/// Outer calls Middle, Middle calls Place, and Place describes itself in \p point and then calls \p look.
int Outer(Point& point, const std::function<void()>& look);

} // namespace Ardo::Kiln::Crash::Sample
