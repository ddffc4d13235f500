#include "Ardo/Kiln/Platform/ThreadName.h"

#include <windows.h>

#include <iterator>
#include <string>

namespace Ardo::Kiln::Platform
{

namespace
{

constexpr DWORD SetThreadNameCode = 0x406D1388;

/// The structure that a debugger reads when the exception is raised. Its layout is a convention of the debuggers.
struct ThreadNameRecord
{
    DWORD type;       ///< 0x1000
    const char* name; ///< Ends with NUL.
    DWORD threadId;
    DWORD flags; ///< 0
};
static_assert(sizeof(ThreadNameRecord) == 3 * sizeof(ULONG_PTR));

HANDLE HandleOf(std::thread::native_handle_type thread)
{
#ifdef __MINGW32__
    return pthread_gethandle(thread); // the threads of this compiler are POSIX threads of a library
#else
    return thread;
#endif
}

LONG CALLBACK IgnoreThreadName(EXCEPTION_POINTERS* pointers)
{
    return pointers->ExceptionRecord->ExceptionCode == SetThreadNameCode ? EXCEPTION_CONTINUE_EXECUTION
                                                                         : EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

void SetThreadName(std::thread::native_handle_type thread, std::string_view name) noexcept
{
    // A debugger gets the exception before any handler. Without a debugger the vectored handler continues behind the
    // raise; __try would do the same, but not every compiler has it.
    void* const handler = ::AddVectoredExceptionHandler(1, IgnoreThreadName);
    if (handler == nullptr)
    {
        return; // without the handler the exception would end the process
    }
    try
    {
        const std::string text(name);
        const ThreadNameRecord record{0x1000, text.c_str(), ::GetThreadId(HandleOf(thread)), 0};
        ::RaiseException(SetThreadNameCode, 0, 3, reinterpret_cast<const ULONG_PTR*>(&record));
    }
    catch (const std::bad_alloc&)
    {
        // No memory for the name: none is set.
    }
    ::RemoveVectoredExceptionHandler(handler);
}

std::string OwnThreadName()
{
    // Not every system has the function, and not every compiler declares it.
    using GetThreadDescription = HRESULT(WINAPI*)(HANDLE, PWSTR*);
    const HMODULE kernel = ::GetModuleHandleW(L"kernel32.dll");
    const FARPROC address = kernel == nullptr ? nullptr : ::GetProcAddress(kernel, "GetThreadDescription");
    PWSTR text = nullptr;
    if (address == nullptr || FAILED(reinterpret_cast<GetThreadDescription>(reinterpret_cast<void (*)()>(address))(
                                  ::GetCurrentThread(), &text)))
    {
        return {};
    }
    // Unpaired surrogates become U+FFFD. The size includes the NUL.
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string name(static_cast<std::size_t>(size > 0 ? size : 1), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text, -1, name.data(), size, nullptr, nullptr);
    name.pop_back();
    ::LocalFree(text);
    return name;
}

} // namespace Ardo::Kiln::Platform
