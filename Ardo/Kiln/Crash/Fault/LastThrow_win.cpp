#include "Ardo/Kiln/Crash/Fault/LastThrow_win.h"

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Crash/Fault/LastThrow.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/VisibleText.h"

#include <windows.h>

#include <algorithm>
#include <exception>
#include <string_view>

namespace Ardo::Kiln::Crash
{

namespace
{

/// Where the calling thread last threw.
struct ThrowPlace
{
    std::uint64_t address = 0;
    const void* object = nullptr;
    USHORT frameCount = 0;
    void* frames[LastThrow::MaxFrames] = {};
};

thread_local ThrowPlace g_place;
thread_local LastThrow g_last;

/// Type and text, from memory and functions of the application.
void AskException(LastThrow& last)
{
    try
    {
        throw;
    }
    catch (const std::exception& exception)
    {
        const std::string_view type = typeid(exception).name();
        last.type[type.copy(last.type, sizeof last.type - 1)] = '\0';
        const char* const text = exception.what();
        CopyVisible(last.message, text != nullptr ? text : "");
    }
    catch (...)
    {
        last.type[0] = '\0'; // nothing is known of it
    }
}

} // namespace

void RememberThrow(const EXCEPTION_POINTERS* pointers) noexcept
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode == FaultCode::CxxException && record.NumberParameters > 1 &&
        record.ExceptionInformation[1] != 0) // null: "throw;" of the one that is remembered
    {
        g_place.address = reinterpret_cast<ULONG_PTR>(record.ExceptionAddress);
        g_place.object = reinterpret_cast<const void*>(record.ExceptionInformation[1]);
        g_place.frameCount = CaptureStackBackTrace(0, LastThrow::MaxFrames, g_place.frames, nullptr);
    }
}

const LastThrow& LastThrowOfThread() noexcept
{
    return g_last;
}

std::uint64_t RememberCaughtException() noexcept
{
    const ThrowPlace place = g_place; // asking may throw
    g_last.code = FaultCode::CxxException;
    g_last.address = place.address;
    g_last.object = place.object;
    g_last.frameCount = place.frameCount;
    std::transform(place.frames, place.frames + place.frameCount, g_last.frames,
                   [](void* frame) { return reinterpret_cast<ULONG_PTR>(frame); });
    g_last.type[0] = '\0';
    g_last.message[0] = '\0';
    try
    {
        g_last.hasMessage =
            FaultDispatch::CallGuarded([](void* last) { AskException(*static_cast<LastThrow*>(last)); }, &g_last,
                                       [](EXCEPTION_POINTERS*) { return FilterResult::ExecuteHandler; });
    }
    catch (...)
    {
        g_last.hasMessage = false;
    }
    g_place = place; // asking has raised the exception once more
    if (!g_last.hasMessage)
    {
        CopyVisible(g_last.message, "[not known: what() has failed itself]");
    }
    return g_last.address;
}

} // namespace Ardo::Kiln::Crash
