#include "Ardo/Kiln/Crash/Fault/FaultHandling_win.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_win.h"
#include "Ardo/Kiln/Crash/Fault/LanguageRuntime.h"

#include <cfenv>
#include <malloc.h>
#include <utility>

namespace Ardo::Kiln::Crash
{

namespace
{

/// Makes \p frame the innermost guarded call of \p thread as long as it lives.
class Entered
{
public:
    Entered(FaultThread& thread, GuardFrame& frame) noexcept
        : m_thread(thread), m_outer(thread.guard), m_depth(thread.depth)
    {
        thread.guard = &frame;
    }
    ~Entered()
    {
        m_thread.guard = m_outer;
        m_thread.depth = m_depth; // what handled the fault may be gone, too
    }
    Entered(const Entered&) = delete;
    Entered& operator=(const Entered&) = delete;

private:
    FaultThread& m_thread;
    GuardFrame* m_outer;
    unsigned m_depth;
};

} // namespace

bool FaultDispatch::CallGuarded(void (*work)(void*), void* argument, FaultFilter filter)
{
    MonitorThread();
    FaultThread* const thread = OwnFaultThread();
    if (thread == nullptr)
    {
        work(argument);
        return true;
    }
    GuardFrame frame;
    frame.call.work = work;
    frame.call.argument = argument;
    frame.call.filter = &FilterOfGuardedCall;
    frame.filter = filter;
    CaughtExceptions caught; // those that the work had caught when it faulted would stay caught otherwise
    std::fenv_t floatingPoint;
    std::fegetenv(&floatingPoint);
    const Entered entered(*thread, frame);
    if (KilnCallGuarded(&frame.call) != 0)
    {
        return true;
    }
    if (std::exchange(thread->hasOverflowed, false))
    {
        ::_resetstkoflw(); // the next overflow is noticed, too
    }
    caught.Restore();
    std::fesetenv(&floatingPoint);
    return false;
}

} // namespace Ardo::Kiln::Crash
