#include "Ardo/Kiln/Crash/Fault/ThrowHook_linux.h"

#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/ThrowTable.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/KilnExport.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdlib>
#include <typeinfo>

// No <cxxabi.h> here: it declares the function that is defined below in its own way.

namespace Ardo::Kiln::Crash
{

namespace
{

using Throw = void (*)(void*, std::type_info*, void (*)(void*));

Throw g_throw = nullptr;
std::atomic<FaultFilter> g_filter = nullptr;

Throw SystemThrow() noexcept
{
    return reinterpret_cast<Throw>(dlsym(RTLD_NEXT, "__cxa_throw"));
}

Throw NextThrow() noexcept
{
    const Throw next = g_throw != nullptr ? g_throw : SystemThrow();
    if (next == nullptr)
    {
        abort(); // a throw does not return
    }
    return next;
}

// At load time: later the loader's lock may be held by a thread that throws.
[[gnu::constructor]] void FindThrow()
{
    g_throw = SystemThrow();
}

/// Shows an exception that is about to be thrown to the calling thread's vectored filters. \p address is the
/// instruction behind the throw.
[[gnu::noinline]] void ShowThrow(void* object, const std::type_info* type, void* address) noexcept
{
    ForgetThrowPlace(object); // an earlier exception at this address does not exist any more
    const FaultThread* const thread = OwnFaultThread();
    const bool hasFilters = thread != nullptr && !thread->filters.IsEmpty();
    const FaultFilter filterOfAll = g_filter.load(std::memory_order_relaxed);
    if (!hasFilters && filterOfAll == nullptr)
    {
        return;
    }
    EXCEPTION_RECORD record = {};
    CONTEXT context = {};
    EXCEPTION_POINTERS pointers = {&record, &context};
    record.ExceptionCode = FaultCode::CxxException;
    record.ExceptionFlags = FaultFlag::Noncontinuable;
    record.ExceptionAddress = address;
    record.NumberParameters = 3;
    record.ExceptionInformation[0] = CxxExceptionMagic;
    record.ExceptionInformation[1] = reinterpret_cast<std::uintptr_t>(object);
    record.ExceptionInformation[2] = reinterpret_cast<std::uintptr_t>(type);
    context.ContextFlags = ContextFlag::Control;
    context.Rip = reinterpret_cast<std::uintptr_t>(address);
    if (!hasFilters)
    {
        filterOfAll(&pointers);
        return;
    }
    for (const FaultFilter filter : thread->filters)
    {
        filter(&pointers);
    }
}

} // namespace

void SetHookFilter(FaultFilter filter) noexcept
{
    g_filter = filter;
}

} // namespace Ardo::Kiln::Crash

// Optimised in every build, and not declared [[noreturn]], so that the last call is a jump: the runtime would walk
// through a frame of this function twice for each throw.
extern "C" [[gnu::optimize("O2")]] KILN_EXPORT void __cxa_throw(void* object, std::type_info* type,
                                                                void (*destructor)(void*))
{
    using namespace Ardo::Kiln::Crash;
    ShowThrow(object, type, __builtin_return_address(0));
    return NextThrow()(object, type, destructor);
}
