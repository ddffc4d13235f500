#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/LanguageRuntime.h"

#include <cstdint>

namespace Ardo::Kiln::Crash
{

namespace
{

/// Rounding mode, precision, traps and flush-to-zero of the thread. The kernel calls a signal handler with those of a
/// new process, and a jump out of the handler keeps them.
class FloatingPointControl
{
public:
    FloatingPointControl() noexcept { asm volatile("stmxcsr %0\n\tfnstcw %1" : "=m"(m_sse), "=m"(m_x87)); }

    void Restore() const noexcept { asm volatile("ldmxcsr %0\n\tfldcw %1" : : "m"(m_sse), "m"(m_x87)); }

private:
    std::uint32_t m_sse = 0;
    std::uint16_t m_x87 = 0;
};

struct GuardedCall
{
    GuardedCall(FaultThread& guarded, FaultFilter filter) noexcept : thread(guarded)
    {
        frame.filter = filter;
        frame.outer = thread.guard;
    }
    ~GuardedCall() { thread.guard = frame.outer; }
    GuardedCall(const GuardedCall&) = delete;
    GuardedCall& operator=(const GuardedCall&) = delete;

    FaultThread& thread;
    GuardFrame frame;
    CaughtExceptions caught; // those that the work had caught when it faulted would stay caught otherwise
    FloatingPointControl floatingPoint;
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
    GuardedCall call(*thread, filter);
    if (sigsetjmp(call.frame.jump, 1) != 0)
    {
        call.caught.Restore();
        call.floatingPoint.Restore();
        return false;
    }
    thread->guard = &call.frame;
    work(argument);
    return true;
}

} // namespace Ardo::Kiln::Crash
