// Compiled with optimisation and full debug information, whatever the rest is compiled with.
#include "tests/Kiln/Crash/StackSample.h"

#include "Ardo/Kiln/Crash/Fault/CallerContext.h"

namespace Ardo::Kiln::Crash::Sample
{

namespace
{

[[gnu::noinline]] int Capture(CONTEXT& context)
{
    CaptureCallerContext(context); // no tail call, because frames are counted
    return 1;
}

[[gnu::noinline]] int Call(const std::function<void()>& look)
{
    look();
    return 1;
}

[[gnu::always_inline]] inline int Place(Point& point, const std::function<void()>& look)
{
    point.inlinedLine = __LINE__ + 1; // one line, because the registers are those after the first call
    return Capture(point.context) + Call(look);
}

[[gnu::noinline]] int Middle(Point& point, const std::function<void()>& look)
{
    point.middleLine = __LINE__ + 1;
    return Place(point, look) + 1;
}

/// Never called. Cold code lies before the code that starts the program, which has no debug information, and the line
/// that ends here holds no code: searches for the nearest line find it from there.
[[gnu::cold, gnu::used]] void StandBeforeStart()
{
    asm volatile("nop");
    asm volatile("");
    __builtin_unreachable();
}

} // namespace

int Outer(Point& point, const std::function<void()>& look)
{
    point.outerLine = __LINE__ + 1;
    return Middle(point, look) + 1;
}

[[gnu::no_sanitize("address")]] void CopyStack(std::uint64_t stackPointer, std::uint64_t* words, std::size_t count)
{
    for (std::size_t index = 0; index < count; ++index)
    {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the value of a register
        words[index] = reinterpret_cast<const volatile std::uint64_t*>(stackPointer)[index];
    }
}

} // namespace Ardo::Kiln::Crash::Sample
