#include "Ardo/Kiln/Crash/Fault/LastThrow_linux.h"

#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/GuardedQuestion_linux.h"
#include "Ardo/Kiln/Crash/Fault/LanguageRuntime_linux.h"
#include "Ardo/Kiln/Crash/Fault/LastThrow.h"
#include "Ardo/Kiln/Crash/Fault/ThrowTable_linux.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/VisibleText.h"

#include <cxxabi.h>

#include <algorithm>
#include <exception>
#include <string_view>
#include <typeinfo>

namespace Ardo::Kiln::Crash
{

namespace
{

static_assert(LastThrow::MaxFrames == ThrowPlace::MaxFrames);

void CopyPlace(LastThrow& last) noexcept
{
    ThrowPlace place;
    if (!CaughtObjectWasThrown() || !FindThrowPlace(last.object, place))
    {
        place = {};
    }
    last.address = place.address;
    last.frameCount = place.frameCount;
    std::copy_n(place.frames, place.frameCount, last.frames);
}

/// Reads the type and asks for the text. Both are memory and code of the application, and may fault.
void AskException(LastThrow& last)
{
    const std::type_info* const type = abi::__cxa_current_exception_type();
    const std::string_view name = type->name();
    last.type[name.copy(last.type, sizeof last.type - 1)] = '\0';
    // The same call with which the runtime looks for a catch block of std::exception. It moves the pointer to the base
    // in the object.
    void* object = const_cast<void*>(last.object);
    if (typeid(std::exception).__do_catch(type, &object, 1))
    {
        const char* const text = static_cast<const std::exception*>(object)->what();
        CopyVisible(last.message, text != nullptr ? text : "");
    }
}

LastThrow g_nothing;

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

const LastThrow& LastThrowOfThread() noexcept
{
    const FaultThread* const thread = FaultThreadOnBehalf();
    return thread != nullptr ? thread->lastThrow : g_nothing;
}

bool RememberCaughtException(FaultThread& thread) noexcept
{
    PrepareLanguageRuntime();
    LastThrow& last = thread.lastThrow;
    last.code = 0;
    last.object = CaughtObject();
    if (last.object == nullptr || abi::__cxa_current_exception_type() == nullptr)
    {
        return false;
    }
    last.code = FaultCode::CxxException;
    CopyPlace(last);
    last.type[0] = '\0';
    last.message[0] = '\0';
    const Asked asked = AskGuarded([](void* asker) { AskException(*static_cast<LastThrow*>(asker)); }, &last);
    last.hasMessage = asked == Asked::Answered;
    if (!last.hasMessage)
    {
        CopyVisible(last.message, asked == Asked::TooLate ? "[not known: what() did not return in time]"
                                                          : "[not known: what() has failed itself]");
    }
    return true;
}

} // namespace Ardo::Kiln::Crash
