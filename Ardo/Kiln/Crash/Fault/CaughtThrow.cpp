#include "Ardo/Kiln/Crash/Fault/CaughtThrow.h"

#include "Ardo/Kiln/Crash/Fault/GuardedQuestion.h"
#include "Ardo/Kiln/Crash/Fault/LanguageRuntime.h"
#include "Ardo/Kiln/Crash/Fault/ThrowTable.h"
#include "Ardo/Kiln/Crash/Fault/UncaughtException.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/VisibleText.h"

#include <algorithm>
#include <exception>
#include <string_view>
#include <typeinfo>

#if __has_include(<cxxabi.h>)
#include <cxxabi.h>
#endif

namespace Ardo::Kiln::Crash
{

namespace
{

static_assert(UncaughtException::MaxFrames == ThrowPlace::MaxFrames);

void CopyPlace(UncaughtException& last) noexcept
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

#if __has_include(<cxxabi.h>)

/// Reads the type and asks for the text. Both are memory and code of the application, and may fault.
void AskException(UncaughtException& last)
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

#else // The runtime of MSVC. Not compiled by the checks of this project.

void AskException(UncaughtException& last)
{
    try
    {
        throw;
    }
    catch (const std::exception& exception)
    {
        const std::string_view name = typeid(exception).name();
        last.type[name.copy(last.type, sizeof last.type - 1)] = '\0';
        const char* const text = exception.what();
        CopyVisible(last.message, text != nullptr ? text : "");
    }
    catch (...)
    {
        last.type[0] = '\0'; // nothing is known of it
    }
}

#endif

} // namespace

bool RememberCaughtException(UncaughtException& last) noexcept
{
    PrepareLanguageRuntime();
    last.code = 0;
    last.object = CaughtObject();
    if (last.object == nullptr)
    {
        return false;
    }
    last.code = FaultCode::CxxException;
    CopyPlace(last);
    last.type[0] = '\0';
    last.message[0] = '\0';
    const Asked asked = AskGuarded([](void* asker) { AskException(*static_cast<UncaughtException*>(asker)); }, &last);
    last.hasMessage = asked == Asked::Answered;
    if (!last.hasMessage)
    {
        CopyVisible(last.message, asked == Asked::TooLate ? "[not known: what() did not return in time]"
                                                          : "[not known: what() has failed itself]");
    }
    return true;
}

} // namespace Ardo::Kiln::Crash
