#include "Ardo/Kiln/Crash/Fault/LanguageRuntime_linux.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <unwind.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>

namespace Ardo::Kiln::Crash
{

namespace
{

/// The beginning of __cxa_eh_globals ("C++ ABI for Itanium: Exception Handling", 2.2.2).
struct Globals
{
    void* caught;      ///< The header of the innermost caught exception; those of outer ones follow in a list.
    unsigned uncaught; ///< How many are thrown and not yet caught.
};

/// The distance from the header of an exception to its object; 0 while the layout is not known to be as expected.
std::ptrdiff_t g_headerSize = 0;

/// Functions that are on the stack while the runtime calls a terminate handler. A noexcept function is found by the
/// unwinder's second phase, which has no other reason to call an abort().
std::array<const void*, 5> g_terminating = {};

Globals ReadGlobals() noexcept
{
    Globals globals = {};
    std::memcpy(&globals, abi::__cxa_get_globals(), sizeof globals);
    return globals;
}

/// std::exception_ptr is one pointer, to the object.
const void* ObjectOf(const std::exception_ptr& exception) noexcept
{
    const void* object = nullptr;
    static_assert(sizeof exception == sizeof object);
    std::memcpy(&object, static_cast<const void*>(&exception), sizeof object);
    return object;
}

/// The part of an exception's header that the unwinder shares with all languages, directly in front of the object
/// (same document, 2.2.1).
const _Unwind_Exception& UnwinderPart(const void* object) noexcept
{
    return *(static_cast<const _Unwind_Exception*>(object) - 1);
}

bool IsOfThisLanguage(const _Unwind_Exception& exception) noexcept
{
    constexpr std::uint64_t Class = 0x474E5543432B2B; // "GNUCC++"; the last byte tells copies of a pointer
    return exception.exception_class >> 8U == Class;
}

struct Probe
{
};

std::ptrdiff_t MeasureHeader() noexcept
{
    const Globals before = ReadGlobals();
    std::ptrdiff_t size = 0;
    try
    {
        throw Probe();
    }
    catch (const Probe& probe)
    {
        const Globals inside = ReadGlobals();
        const void* const object = ObjectOf(std::current_exception());
        if (object == &probe && inside.caught != before.caught && inside.uncaught == before.uncaught)
        {
            size = static_cast<const char*>(object) - static_cast<const char*>(inside.caught);
            constexpr auto Least = static_cast<std::ptrdiff_t>(sizeof(_Unwind_Exception));
            const bool plausible = size >= Least && size <= 512 && IsOfThisLanguage(UnwinderPart(object)) &&
                                   UnwinderPart(object).private_2 != 0;
            size = plausible ? size : 0;
        }
    }
    return ReadGlobals().caught == before.caught ? size : 0;
}

struct Search
{
    int framesLeft = 256;
    bool found = false;
};

_Unwind_Reason_Code FindTerminating(_Unwind_Context* frame, void* argument)
{
    auto& search = *static_cast<Search*>(argument);
    int beforeInstruction = 0;
    const std::uintptr_t address = _Unwind_GetIPInfo(frame, &beforeInstruction);
    if (address == 0 || --search.framesLeft == 0)
    {
        return _URC_END_OF_STACK;
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the call may be the last instruction of its function
    auto* const inside = reinterpret_cast<void*>(address - (beforeInstruction == 0 ? 1 : 0));
    const void* const function = _Unwind_FindEnclosingFunction(inside);
    search.found =
        function != nullptr && std::find(g_terminating.begin(), g_terminating.end(), function) != g_terminating.end();
    return search.found ? _URC_END_OF_STACK : _URC_NO_REASON;
}

} // namespace

void PrepareLanguageRuntime() noexcept
{
    static const bool g_isPrepared = []
    {
        g_terminating = {
            reinterpret_cast<const void*>(&std::terminate), reinterpret_cast<const void*>(&_Unwind_RaiseException),
            reinterpret_cast<const void*>(&_Unwind_Resume), reinterpret_cast<const void*>(&_Unwind_Resume_or_Rethrow),
            dlsym(RTLD_DEFAULT, "__cxa_call_terminate")}; // what later compilers call
        g_headerSize = MeasureHeader();
        return true;
    }();
    static_cast<void>(g_isPrepared);
}

const void* CaughtObject() noexcept
{
    return g_headerSize != 0 ? ObjectOf(std::current_exception()) : nullptr;
}

bool CaughtObjectWasThrown() noexcept
{
    const void* const object = CaughtObject();
    if (object == nullptr)
    {
        return false;
    }
    // A header in front of the object itself: the exception is where the throw has put it. Otherwise the header is one
    // of std::rethrow_exception, and the object's own was written to by the unwinder if it was ever thrown and caught.
    const bool isOwnHeader = static_cast<const char*>(ReadGlobals().caught) + g_headerSize == object;
    return isOwnHeader || UnwinderPart(object).private_2 != 0;
}

bool HasCaughtException() noexcept
{
    return g_headerSize != 0 && ReadGlobals().caught != nullptr;
}

bool IsInTerminate() noexcept
{
    Search search;
    _Unwind_Backtrace(FindTerminating, &search);
    return search.found;
}

CaughtExceptions::CaughtExceptions() noexcept
{
    const Globals globals = ReadGlobals();
    m_caught = globals.caught;
    m_uncaught = globals.uncaught;
}

void CaughtExceptions::Restore() noexcept
{
    if (g_headerSize != 0)
    {
        const Globals globals = {m_caught, m_uncaught};
        std::memcpy(abi::__cxa_get_globals(), &globals, offsetof(Globals, uncaught) + sizeof globals.uncaught);
    }
}

} // namespace Ardo::Kiln::Crash
