#include "Ardo/Kiln/Crash/Fault/TerminateSearch_linux.h"

#include <dlfcn.h>
#include <unwind.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>

namespace Ardo::Kiln::Crash
{

namespace
{

/// Functions that are on the stack while the runtime calls a terminate handler. A noexcept function is found by the
/// unwinder's second phase, which has no other reason to call an abort().
std::array<const void*, 5> g_terminating = {};

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

void PrepareTerminateSearch() noexcept
{
    static const bool g_isPrepared = []
    {
        g_terminating = {
            reinterpret_cast<const void*>(&std::terminate), reinterpret_cast<const void*>(&_Unwind_RaiseException),
            reinterpret_cast<const void*>(&_Unwind_Resume), reinterpret_cast<const void*>(&_Unwind_Resume_or_Rethrow),
            dlsym(RTLD_DEFAULT, "__cxa_call_terminate")}; // what later compilers call
        return true;
    }();
    static_cast<void>(g_isPrepared);
}

bool IsInTerminate() noexcept
{
    Search search;
    _Unwind_Backtrace(FindTerminating, &search);
    return search.found;
}

} // namespace Ardo::Kiln::Crash
