#include "Ardo/Kiln/Crash/Fault/ThrowHook_linux.h"

#include "Ardo/KilnExport.h"

#include <dlfcn.h>

#include <cstdlib>

// Stands before the language runtime's function, for throws of every module: once an exception is on its way up,
// nothing tells any more where it came from. No <cxxabi.h> here: it declares this function in its own way.

namespace
{

using Throw = void (*)(void*, std::type_info*, void (*)(void*));

Throw SystemThrow() noexcept
{
    return reinterpret_cast<Throw>(dlsym(RTLD_NEXT, "__cxa_throw"));
}

Throw g_throw = nullptr;

// Before anybody can be inside the loader and throw.
[[gnu::constructor]] void FindThrow()
{
    g_throw = SystemThrow();
}

} // namespace

extern "C" [[noreturn]] KILN_EXPORT void __cxa_throw(void* object, std::type_info* type, void (*destructor)(void*))
{
    Ardo::Kiln::Crash::ShowThrow(object, type, __builtin_return_address(0));
    const Throw next = g_throw != nullptr ? g_throw : SystemThrow();
    if (next != nullptr)
    {
        next(object, type, destructor);
    }
    abort();
}
