// Compiled with optimisation and full debug information, whatever the rest is compiled with.
#include "tests/Kiln/Crash/StackSample.h"

#include "Ardo/Kiln/Crash/Fault/FaultDescription_linux.h"

namespace Ardo::Kiln::Crash::Sample
{

namespace
{

[[gnu::noinline]] int Call(const std::function<void()>& look)
{
    look();
    return 1;
}

[[gnu::always_inline]] inline int Place(Point& point, const std::function<void()>& look)
{
    point.inlinedLine = __LINE__ + 1; // one line, because the registers are those after the first call
    return Crash::DescribeFault(nullptr, point.request), Call(look);
}

[[gnu::noinline]] int Middle(Point& point, const std::function<void()>& look)
{
    point.middleLine = __LINE__ + 1;
    return Place(point, look) + 1;
}

} // namespace

int Outer(Point& point, const std::function<void()>& look)
{
    point.outerLine = __LINE__ + 1;
    return Middle(point, look) + 1;
}

} // namespace Ardo::Kiln::Crash::Sample
