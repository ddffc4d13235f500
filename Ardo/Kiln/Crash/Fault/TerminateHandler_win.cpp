#include "Ardo/Kiln/Crash/Fault/TerminateHandler_win.h"

#include "Ardo/Kiln/Crash/Fault/CallerContext_win.h"
#include "Ardo/Kiln/Crash/Fault/CaughtThrow.h"
#include "Ardo/Kiln/Crash/Fault/FaultHandling_win.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_win.h"
#include "Ardo/Kiln/Crash/Fault/GuardedQuestion.h"
#include "Ardo/Kiln/Crash/Fault/LanguageRuntime.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <utility>

#ifndef _MSC_VER
#include <unwind.h>
#endif

namespace Ardo::Kiln::Crash
{

namespace
{

using SignalHandler = void (*)(int);

std::terminate_handler g_previousTerminate = nullptr;
SignalHandler g_previousAbort = SIG_DFL;

#ifndef _MSC_VER

/// Whether \p handler is the runtime's own, which prints the text of the exception.
bool AsksForText(std::terminate_handler handler) noexcept
{
    static const DWORD64 g_own =
        FunctionBehindJump(reinterpret_cast<const void*>(&__gnu_cxx::__verbose_terminate_handler));
    return FunctionBehindJump(reinterpret_cast<const void*>(handler)) == g_own;
}

/// Whether the function with the registers \p context was called by std::terminate, or by the runtime that has found no
/// way on for an exception. An exception that is raised again ends in abort() at once.
bool IsInTerminate(CONTEXT context) noexcept
{
    constexpr int MaxSteps = 64;
    const DWORD64 terminating[] = {FunctionBehindJump(reinterpret_cast<const void*>(&std::terminate)),
                                   FunctionBehindJump(reinterpret_cast<const void*>(&_Unwind_RaiseException)),
                                   FunctionBehindJump(reinterpret_cast<const void*>(&_Unwind_Resume)),
                                   FunctionBehindJump(reinterpret_cast<const void*>(&_Unwind_Resume_or_Rethrow))};
    for (int step = 0; step < MaxSteps; ++step)
    {
        const DWORD64 function = FunctionOf(context);
        if (function != 0 &&
            std::find(std::begin(terminating), std::end(terminating), function) != std::end(terminating))
        {
            return true;
        }
        if (!StepToCaller(context))
        {
            return false;
        }
    }
    return false;
}

#else // Not compiled by the checks of this project.

bool AsksForText(std::terminate_handler) noexcept
{
    return false;
}

bool IsInTerminate(const CONTEXT&) noexcept
{
    return false; // the exceptions of this runtime come to the terminate handler or to the unhandled filter
}

#endif

[[noreturn]] void OnTerminate()
{
    GiveUpQuestion();
    FaultThread* const thread = AdoptThread();
    if (thread != nullptr)
    {
        thread->isTerminating = RememberCaughtException(thread->uncaught);
    }
    const bool hasText = thread == nullptr || !thread->isTerminating || thread->uncaught.hasMessage;
    // The runtime's own handler prints the text of the exception, and would fail at it as we have.
    if (g_previousTerminate != nullptr && (hasText || !AsksForText(g_previousTerminate)))
    {
        g_previousTerminate();
    }
    std::abort();
}

/// abort() goes on when this returns, and ends the process.
void OnAbort(int signal)
{
    std::signal(SIGABRT, &OnAbort); // of other threads: the runtime has set the default
    GiveUpQuestion();
    EXCEPTION_RECORD record = {};
    CONTEXT context = {};
    EXCEPTION_POINTERS pointers = {&record, &context};
    ::RtlCaptureContext(&context);
    StepToCaller(context);
    record.ExceptionCode = FaultCode::FatalAppExit;
    record.ExceptionFlags = FaultFlag::Noncontinuable;
    DWORD64 address = context.Rip;
    FaultThread* const thread = AdoptThread();
    if (thread != nullptr && !thread->isTerminating && HasCaughtException() && IsInTerminate(context))
    {
        thread->isTerminating = RememberCaughtException(thread->uncaught); // ours was not called
    }
    if (thread != nullptr && std::exchange(thread->isTerminating, false))
    {
        record.ExceptionCode = FaultCode::CxxException;
        record.NumberParameters = 3;
        record.ExceptionInformation[0] = CxxExceptionMagic;
        record.ExceptionInformation[1] = reinterpret_cast<ULONG_PTR>(thread->uncaught.object);
        address = thread->uncaught.address != 0 ? thread->uncaught.address : address;
    }
    record.ExceptionAddress = reinterpret_cast<void*>(address); // NOLINT(performance-no-int-to-ptr)
    DispatchFault(&pointers);
    if (g_previousAbort != SIG_DFL && g_previousAbort != SIG_IGN && g_previousAbort != SIG_ERR)
    {
        g_previousAbort(signal);
    }
}

} // namespace

void InstallTerminateHandler() noexcept
{
    g_previousTerminate = std::set_terminate(&OnTerminate);
    g_previousAbort = std::signal(SIGABRT, &OnAbort);
}

#ifndef _MSC_VER
void InstallTerminateHandlerOfThread(FaultThread&) noexcept {}
#else
void InstallTerminateHandlerOfThread(FaultThread& thread) noexcept // Not compiled by the checks of this project.
{
    if (!std::exchange(thread.hasTerminateHandler, true) && std::get_terminate() != &OnTerminate)
    {
        g_previousTerminate = std::set_terminate(&OnTerminate);
    }
}
#endif

} // namespace Ardo::Kiln::Crash
