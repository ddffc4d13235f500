#include "Ardo/Kiln/Crash/Fault/CallerContext_win.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_win.h"
#include "Ardo/Kiln/Crash/Fault/LanguageRuntime.h"
#include "Ardo/Kiln/Crash/Fault/ThrowTable.h"
#include "Ardo/Kiln/Crash/Fault/UncaughtException.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

#include <cstdint>

#ifndef _MSC_VER
#include <cxxabi.h>
#include <unwind.h>
#endif

namespace Ardo::Kiln::Crash
{

namespace
{

UncaughtException g_nothing;

#ifndef _MSC_VER

/// The object of an exception that gcc's runtime raises; null for one that std::rethrow_exception raises again, which
/// is not thrown, and for other exceptions.
const void* ThrownObject(const EXCEPTION_RECORD& record) noexcept
{
    constexpr std::uint64_t Class = 0x474E5543432B2B00; // "GNUCC++"; the last byte tells copies of a pointer
    if (record.ExceptionCode != FaultCode::GccException || record.NumberParameters < 1)
    {
        return nullptr;
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the record's words
    const auto* const exception = reinterpret_cast<const _Unwind_Exception*>(record.ExceptionInformation[0]);
    return exception->exception_class == Class ? exception + 1 : nullptr;
}

/// Goes on from a raise to the function with the `throw`.
/// \returns false when there is none: it is raised again.
bool StepToThrow(CONTEXT& context) noexcept
{
    static const DWORD64 g_throw = FunctionBehindJump(reinterpret_cast<const void*>(&abi::__cxa_throw));
    constexpr int MaxSteps = 8; // the system's raise, the unwinder, the runtime
    for (int step = 0; step < MaxSteps; ++step)
    {
        const bool isThrow = FunctionOf(context) == g_throw;
        if (!StepToCaller(context) || isThrow)
        {
            return isThrow;
        }
    }
    return false;
}

#else // Not compiled by the checks of this project.

const void* ThrownObject(const EXCEPTION_RECORD& record) noexcept
{
    const bool isThrown = record.ExceptionCode == FaultCode::CxxException && record.NumberParameters > 3 &&
                          record.ExceptionInformation[1] != 0; // null: "throw;"
    return isThrown ? LastThrowKey() : nullptr;
}

bool StepToThrow(CONTEXT&) noexcept
{
    return true; // the runtime's own calls come first
}

#endif

} // namespace

void RememberThrow(const EXCEPTION_POINTERS* pointers) noexcept
{
    const void* const object = ThrownObject(*pointers->ExceptionRecord);
    if (object == nullptr)
    {
        return;
    }
    CONTEXT context = *pointers->ContextRecord;
    if (!StepToThrow(context))
    {
        return;
    }
    ThrowPlace place;
    place.address = context.Rip;
    do
    {
        place.frames[place.frameCount++] = context.Rip;
    } while (place.frameCount < ThrowPlace::MaxFrames && StepToCaller(context));
    RememberThrowPlace(object, place);
}

const UncaughtException& UncaughtExceptionOfThread() noexcept
{
    const FaultThread* const thread = FaultThreadOnBehalf();
    return thread != nullptr ? thread->uncaught : g_nothing;
}

} // namespace Ardo::Kiln::Crash
