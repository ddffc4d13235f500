#include "Ardo/Kiln/Crash/Fault/UncaughtException.h"

#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/ThrowTable.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

namespace Ardo::Kiln::Crash
{

namespace
{

UncaughtException g_nothing;

} // namespace

void RememberThrow(const EXCEPTION_POINTERS* pointers) noexcept
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    FaultThread* const thread = OwnFaultThread();
    // Asked on behalf of another thread, it is the exception that this one did not catch, long since thrown.
    if (record.ExceptionCode != FaultCode::CxxException || record.NumberParameters < 3 ||
        FaultThreadOnBehalf() != thread)
    {
        return;
    }
    ThrowPlace place;
    place.address = reinterpret_cast<std::uintptr_t>(record.ExceptionAddress);
    if (thread != nullptr)
    {
        TraceThrow(thread->throwTrace, thread->stackLow, thread->stackHigh, place);
    }
    else
    {
        StackTrace none;
        TraceThrow(none, 0, 0, place);
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the record's words
    RememberThrowPlace(reinterpret_cast<const void*>(record.ExceptionInformation[1]), place);
}

const UncaughtException& UncaughtExceptionOfThread() noexcept
{
    const FaultThread* const thread = FaultThreadOnBehalf();
    return thread != nullptr ? thread->uncaught : g_nothing;
}

} // namespace Ardo::Kiln::Crash
