#include "Ardo/Kiln/Crash/Fault/LanguageRuntime.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>

#if __has_include(<cxxabi.h>)
#include <algorithm>
#include <cxxabi.h>
#include <iterator>
#include <unwind.h>

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

/// Whether the unwinder has found a catch block for it: its private words are zero until then.
bool WasCaught(const _Unwind_Exception& exception) noexcept
{
#ifdef __SEH__
    return std::any_of(std::begin(exception.private_), std::end(exception.private_),
                       [](auto word) { return word != 0; });
#else
    return exception.private_2 != 0;
#endif
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
                                   WasCaught(UnwinderPart(object));
            size = plausible ? size : 0;
        }
    }
    return ReadGlobals().caught == before.caught ? size : 0;
}

} // namespace

void PrepareLanguageRuntime() noexcept
{
    static const bool g_isPrepared = (g_headerSize = MeasureHeader(), true);
    static_cast<void>(g_isPrepared);
}

const void* CaughtObject() noexcept
{
    return g_headerSize != 0 && abi::__cxa_current_exception_type() != nullptr ? ObjectOf(std::current_exception())
                                                                               : nullptr;
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
    return isOwnHeader || WasCaught(UnwinderPart(object));
}

bool HasCaughtException() noexcept
{
    return g_headerSize != 0 && ReadGlobals().caught != nullptr;
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

#else // The runtime of MSVC. Not compiled by the checks of this project.

namespace Ardo::Kiln::Crash
{

void PrepareLanguageRuntime() noexcept {}

const void* LastThrowKey() noexcept
{
    static thread_local char g_key = 0;
    return &g_key;
}

const void* CaughtObject() noexcept
{
    return HasCaughtException() ? LastThrowKey() : nullptr;
}

bool CaughtObjectWasThrown() noexcept
{
    return HasCaughtException();
}

bool HasCaughtException() noexcept
{
    return std::current_exception() != nullptr;
}

CaughtExceptions::CaughtExceptions() noexcept : m_caught(nullptr), m_uncaught(0) {}

void CaughtExceptions::Restore() noexcept {}

} // namespace Ardo::Kiln::Crash

#endif
