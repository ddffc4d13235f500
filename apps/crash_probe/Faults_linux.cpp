#include "apps/crash_probe/Scenario.h"

#include <array>
#include <cassert>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ardo::Kiln::CrashProbe
{

namespace
{

// Volatile, so that the compiler cannot optimise the faults away.
int* volatile g_pointer = nullptr;
volatile int g_number = 0;

void TruncatedFile()
{
    FILE* const file = std::tmpfile();
    assert(file != nullptr);
    const auto size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const memory = ::ftruncate(::fileno(file), static_cast<off_t>(size)) == 0
                             ? ::mmap(nullptr, size, PROT_READ, MAP_SHARED, ::fileno(file), 0)
                             : MAP_FAILED;
    assert(memory != MAP_FAILED);
    [[maybe_unused]] const int cut = ::ftruncate(::fileno(file), 0);
    g_pointer = static_cast<int*>(memory);
    g_number = *g_pointer; // <- truncated-file
}

void Misaligned()
{
    alignas(8) static std::array<unsigned char, 16> data{};
    g_pointer = reinterpret_cast<int*>(data.data() + 1);
    asm volatile("pushfq\n orq $0x40000, (%rsp)\n popfq"); // the flag of the alignment check
    g_number = *g_pointer;                                 // <- misaligned
}

// What the C library ends a program for ---------------------------------------------------------------------------

void DoubleFree()
{
    // Too large for the thread's cache, which has a check of its own. A second block prevents the first one from being
    // merged with the rest of the heap.
    void* volatile block = std::malloc(5000);
    void* volatile border = std::malloc(5000);
    std::free(block);
    std::free(block); // <- double-free
    std::free(border);
}

void CorruptHeap()
{
    // The heap's rest lies behind its newest block; its size is what is overwritten.
    constexpr std::size_t Size = 24;
    char* volatile block = static_cast<char*>(std::malloc(Size));
    for (int count = 0; count < 10'000; ++count)
    {
        block = static_cast<char*>(std::malloc(Size)); // until the holes of the heap are filled
    }
    std::memset(block, 0xFF, Size + 8);
    g_pointer = static_cast<int*>(std::malloc(100'000)); // <- corrupt-heap
}

[[gnu::noinline, gnu::optimize("stack-protector-all")]] void SmashStack()
{
    volatile char buffer[16] = {};
    volatile char* const start = buffer;
    for (int index = 0; index < 40; ++index)
    {
        start[index] = 'x';
    }
} // <- smash-stack

// While something is locked ---------------------------------------------------------------------------------------

void FaultInMalloc()
{
    // A free block of the middle size lies in a list, by pointers in the block itself. They are overwritten, and the
    // allocator follows them with its lock held (it has one: this process has more than one thread).
    constexpr std::size_t Size = 5000;
    auto* volatile block = static_cast<std::uint64_t*>(std::malloc(Size));
    void* volatile border = std::malloc(Size); // prevents the block from being merged with the rest of the heap
    std::free(const_cast<std::uint64_t*>(block));
    std::fill_n(block, 2, 0x1234567812345678);
    g_pointer = static_cast<int*>(std::malloc(Size - 1000)); // <- in-malloc
    std::free(border);
}

void FaultInLoader()
{
    // The plug-in faults in a static constructor of its own.
    ::dlopen(CRASH_PROBE_PLUGIN, RTLD_NOW | RTLD_LOCAL);
}

void FaultWithStdioLocked()
{
    ::flockfile(stdout);
    ::flockfile(stderr);
    g_number = *g_pointer; // <- stdio-lock
}

ssize_t WriteNothing(void*, const char*, std::size_t size)
{
    g_number = *g_pointer; // <- in-printf
    return static_cast<ssize_t>(size);
}

void FaultInPrintf()
{
    cookie_io_functions_t functions{};
    functions.write = &WriteNothing;
    FILE* const stream = ::fopencookie(nullptr, "w", functions);
    assert(stream != nullptr);
    std::setvbuf(stream, nullptr, _IONBF, 0);
    std::fprintf(stream, "%d frames\n", 3);
}

/// Whether the first thread of \p process waits in a system call. System calls only.
bool Sleeps(pid_t process)
{
    std::array<char, 512> text{};
    std::snprintf(text.data(), text.size(), "/proc/%d/stat", process);
    const int file = ::open(text.data(), O_RDONLY | O_CLOEXEC);
    const ssize_t size = ::read(file, text.data(), text.size() - 1);
    ::close(file);
    text[size > 0 ? static_cast<std::size_t>(size) : 0] = '\0';
    const char* const nameEnd = std::strrchr(text.data(), ')');
    return nameEnd != nullptr && nameEnd[1] != '\0' && nameEnd[2] == 'S';
}

void KilledFromOutside()
{
    const pid_t victim = ::getpid();
    std::array<int, 2> pipe{};
    [[maybe_unused]] const int made = ::pipe(pipe.data());
    char byte = 0;
    const pid_t child = ::fork();
    if (child == 0)
    {
        // Not while the parent is still inside fork(), where it holds every lock of the allocator.
        [[maybe_unused]] const ssize_t count = ::read(pipe[0], &byte, 1);
        while (!Sleeps(victim))
        {
            ::usleep(1000);
        }
        ::kill(victim, SIGSEGV);
        ::_exit(0);
    }
    [[maybe_unused]] const ssize_t count = ::write(pipe[1], &byte, 1);
    for (;;)
    {
        ::pause(); // <- killed
    }
}

constexpr Scenario List[] = {
    {"truncated-file", "read a mapped file behind its end", &TruncatedFile},
    {"misaligned", "read an odd address with the alignment check on", &Misaligned},
    {"double-free", "free a block twice", &DoubleFree},
    {"corrupt-heap", "write behind the end of a block", &CorruptHeap},
    {"smash-stack", "write behind the end of a local array", &SmashStack},
    {"in-malloc", "fault inside the allocator, its lock held", &FaultInMalloc},
    {"in-loader", "fault in a static constructor of a plug-in, the loader's lock held", &FaultInLoader},
    {"stdio-lock", "fault with standard output and standard error locked", &FaultWithStdioLocked},
    {"in-printf", "fault inside fprintf, its stream locked", &FaultInPrintf},
    {"killed", "SIGSEGV from another process", &KilledFromOutside},
};

} // namespace

std::span<const Scenario> SystemFaults()
{
    return List;
}

} // namespace Ardo::Kiln::CrashProbe
