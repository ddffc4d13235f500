#include "apps/crash_probe/Conditions.h"

#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"

#include <cstdio>
#include <cstdlib>
#include <thread>

#include <windows.h>

namespace Ardo::Kiln::CrashProbe
{

namespace
{

/// Standard error is a pipe that nobody reads.
void BrokenPipe()
{
    HANDLE reader = nullptr;
    HANDLE writer = nullptr;
    if (::CreatePipe(&reader, &writer, nullptr, 0))
    {
        ::SetStdHandle(STD_ERROR_HANDLE, writer);
        ::CloseHandle(reader);
    }
}

/// Restores the exception handling of the system, as an application does that sets its own filter later.
void OwnFilter()
{
    ::SetUnhandledExceptionFilter(
        [](EXCEPTION_POINTERS*) -> LONG
        {
            Say("own filter");
            return EXCEPTION_EXECUTE_HANDLER;
        });
}

constexpr Condition List[] = {
    {"broken-pipe", "standard error is a pipe that nobody reads", &BrokenPipe, true},
    {"log", "a record was logged just before", [] { LogRecord(std::getenv("ProgramData")); }},
    {"fake-dump", "minidumps are only pretended", [] { Exception::MiniDumpGenerator::SetFakeWriteDump(true); }},
    {"own-terminate", "the application has set a terminate handler after the library", &OwnTerminateHandler},
    {"own-filter", "the application has set an unhandled filter before the library", &OwnFilter, true},
};

} // namespace

std::span<const Condition> Conditions()
{
    return List;
}

void RunOnForeignThread(const std::string& kind, const std::function<void()>& work)
{
    static const std::function<void()>* g_work = nullptr;
    g_work = &work;
    const auto run = [](void*) -> DWORD
    {
        (*g_work)();
        return 0;
    };
    if (kind == "c11")
    {
        ::CloseHandle(::CreateThread(nullptr, 0, run, nullptr, 0, nullptr));
    }
    else
    {
        ::QueueUserWorkItem(run, nullptr, WT_EXECUTEDEFAULT);
    }
    for (;;)
    {
        std::this_thread::sleep_for(std::chrono::hours(1));
    }
}

void RunInChild(const std::function<void()>&)
{
    Say("no fork on this system");
    ::ExitProcess(2);
}

void PrintIds()
{
    char text[80];
    std::snprintf(text, sizeof(text), "process %lu, thread %lu", ::GetCurrentProcessId(), ::GetCurrentThreadId());
    Say(text);
}

void Say(const char* line)
{
    char text[256];
    const int length = std::snprintf(text, sizeof(text), "%.250s\n", line);
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), text, static_cast<DWORD>(length), &written, nullptr);
}

void EndQuietly()
{
    ::TerminateProcess(::GetCurrentProcess(), 0);
    for (;;)
    {
        ::Sleep(INFINITE);
    }
}

} // namespace Ardo::Kiln::CrashProbe
