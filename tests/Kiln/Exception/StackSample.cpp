// Compiled with optimisation and full debug information, whatever the rest is compiled with.
#include "tests/Kiln/Exception/StackSample.h"

namespace Ardo::Kiln::Exception::Sample
{

namespace
{

[[gnu::always_inline]] inline int Place(Point& point, const std::function<void()>& look)
{
    // One line: the registers are those after the call.
    point.inlinedLine = __LINE__, Platform::DescribeFault(nullptr, point.request), look();
    return static_cast<int>(point.inlinedLine);
}

[[gnu::noinline]] int Middle(Point& point, const std::function<void()>& look)
{
    const int line = Place(point, look);
    point.middleLine = __LINE__ - 1;
    return line + 1;
}

} // namespace

int Outer(Point& point, const std::function<void()>& look)
{
    point.outerLine = __LINE__ + 1;
    return Middle(point, look) + 1;
}

} // namespace Ardo::Kiln::Exception::Sample
