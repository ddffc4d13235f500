#include "apps/crash_probe/Scenario.h"

#include <array>
#include <atomic>
#include <barrier>
#include <cassert>
#include <cfenv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <thread>

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
void (*volatile g_function)() = nullptr;
volatile int g_number = 0;
volatile double g_double = 0;

int* PointerTo(std::uintptr_t address)
{
    return reinterpret_cast<int*>(address); // NOLINT(performance-no-int-to-ptr): deliberately invalid
}

// Bad accesses ----------------------------------------------------------------------------------------------------

void ReadNull()
{
    g_number = *g_pointer; // <- read-null
}

void ReadBad()
{
    g_pointer = PointerTo(0x1234560000);
    g_number = *g_pointer; // <- read-bad
}

void ReadNonCanonical()
{
    g_pointer = PointerTo(0x1234567812345678);
    g_number = *g_pointer; // <- read-non-canonical
}

void WriteNull()
{
    *g_pointer = 1; // <- write-null
}

void WriteConstant()
{
    static const int Constant = 1;
    g_pointer = const_cast<int*>(&Constant);
    *g_pointer = 2; // <- write-constant
}

void JumpNull()
{
    g_function(); // <- jump-null
}

void JumpData()
{
    static std::array<unsigned char, 16> data{0xC3};
    g_function = reinterpret_cast<void (*)()>(data.data());
    g_function(); // <- jump-data
}

void JumpNonCanonical()
{
    g_function = reinterpret_cast<void (*)()>(PointerTo(0x1234567812345678));
    g_function(); // <- jump-non-canonical
}

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

// One line: at which instruction the stack ends is not determined.
// clang-format off
int Recurse(int depth) { volatile char room[1000] = {}; return depth < 0 ? 0 : Recurse(depth + 1) + room[depth % 7]; } // <- stack-overflow
// clang-format on

// Arithmetic and instructions -------------------------------------------------------------------------------------

void DivideByZero()
{
    g_number = 7 / g_number; // <- divide-zero
}

void DivideOverflow()
{
    g_number = -1;
    g_number = std::numeric_limits<int>::min() / g_number; // <- divide-overflow
}

void FloatDivide()
{
    ::feenableexcept(FE_DIVBYZERO);
    g_double = 1 / g_double; // <- float-divide
}

void FloatOverflow()
{
    ::feenableexcept(FE_OVERFLOW);
    g_double = std::numeric_limits<double>::max();
    g_double = g_double * g_double; // <- float-overflow
}

void FloatInvalid()
{
    ::feenableexcept(FE_INVALID);
    g_double = g_double / g_double; // <- float-invalid
}

void Illegal()
{
    asm volatile("ud2"); // <- illegal
}

void Privileged()
{
    asm volatile("hlt"); // <- privileged
}

void Breakpoint()
{
    asm volatile("int3\n nop"); // <- breakpoint
}

/// The breakpoint is the last instruction of its function.
void BreakpointAtTheEnd()
{
    asm volatile("int3"); // <- breakpoint-last
    __builtin_unreachable();
}

// What the C library ends a program for ---------------------------------------------------------------------------

void Abort()
{
    std::abort(); // <- abort
}

void Assert()
{
    assert(g_number == 1); // <- assert
}

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

// More than one ----------------------------------------------------------------------------------------------------

void FaultTogether(std::barrier<>& barrier)
{
    barrier.arrive_and_wait();
    g_number = *g_pointer; // <- two-threads
}

void TwoThreads()
{
    std::barrier barrier(2);
    std::thread other([&] { FaultTogether(barrier); });
    FaultTogether(barrier);
    other.join();
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

// Around main ------------------------------------------------------------------------------------------------------

std::atomic<bool> g_faultsAtTheEnd = false;

struct AfterMain
{
    ~AfterMain()
    {
        if (g_faultsAtTheEnd)
        {
            g_number = *g_pointer; // <- static-destructor
        }
    }
} g_afterMain;

void AtExit()
{
    std::atexit([] { g_number = *g_pointer; }); // <- at-exit
    std::exit(0);
}

void StaticDestructor()
{
    g_faultsAtTheEnd = true;
    std::exit(0);
}

constexpr Scenario List[] = {
    {"read-null", "read through a null pointer", &ReadNull},
    {"read-bad", "read where nothing is mapped", &ReadBad},
    {"read-non-canonical", "read at an address that no processor can have", &ReadNonCanonical},
    {"write-null", "write through a null pointer", &WriteNull},
    {"write-constant", "write to a constant", &WriteConstant},
    {"jump-null", "call a null function", &JumpNull},
    {"jump-data", "call data that is not executable", &JumpData},
    {"jump-non-canonical", "call an address that no processor can have", &JumpNonCanonical},
    {"truncated-file", "read a mapped file behind its end", &TruncatedFile},
    {"misaligned", "read an odd address with the alignment check on", &Misaligned},
    {"stack-overflow", "recurse without end", [] { g_number = Recurse(1); }},
    {"divide-zero", "divide an integer by zero", &DivideByZero},
    {"divide-overflow", "divide the smallest integer by -1", &DivideOverflow},
    {"float-divide", "divide by 0.0 with the trap on", &FloatDivide},
    {"float-overflow", "overflow a double with the trap on", &FloatOverflow},
    {"float-invalid", "divide 0.0 by 0.0 with the trap on", &FloatInvalid},
    {"illegal", "an instruction that does not exist", &Illegal},
    {"privileged", "an instruction of the kernel", &Privileged},
    {"breakpoint", "a breakpoint without a debugger", &Breakpoint},
    {"breakpoint-last", "a breakpoint as the last instruction of a function", &BreakpointAtTheEnd},
    {"abort", "call abort", &Abort},
    {"assert", "an assertion that does not hold", &Assert},
    {"double-free", "free a block twice", &DoubleFree},
    {"corrupt-heap", "write behind the end of a block", &CorruptHeap},
    {"smash-stack", "write behind the end of a local array", &SmashStack},
    {"in-malloc", "fault inside the allocator, its lock held", &FaultInMalloc},
    {"in-loader", "fault in a static constructor of a plug-in, the loader's lock held", &FaultInLoader},
    {"stdio-lock", "fault with standard output and standard error locked", &FaultWithStdioLocked},
    {"in-printf", "fault inside fprintf, its stream locked", &FaultInPrintf},
    {"two-threads", "two threads fault at the same time", &TwoThreads},
    {"killed", "SIGSEGV from another process", &KilledFromOutside},
    {"at-exit", "fault in a function of atexit", &AtExit},
    {"static-destructor", "fault in a static destructor", &StaticDestructor},
};

} // namespace

std::span<const Scenario> Faults()
{
    return List;
}

} // namespace Ardo::Kiln::CrashProbe
