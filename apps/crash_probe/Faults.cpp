#include "apps/crash_probe/Scenario.h"

#include <array>
#include <atomic>
#include <barrier>
#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <thread>

#include <xmmintrin.h>

namespace Ardo::Kiln::CrashProbe
{

namespace
{

// Everything that the compiler could otherwise see through goes by way of these.
int* volatile g_pointer = nullptr;
void (*volatile g_function)() = nullptr;
volatile int g_number = 0;
volatile double g_double = 0;

int* PointerTo(std::uintptr_t address)
{
    return reinterpret_cast<int*>(address); // NOLINT(performance-no-int-to-ptr): nothing is there, which is the point
}

void TrapFloatingPoint(unsigned exception)
{
    _MM_SET_EXCEPTION_MASK(_MM_GET_EXCEPTION_MASK() & ~exception);
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
    TrapFloatingPoint(_MM_MASK_DIV_ZERO);
    g_double = 1 / g_double; // <- float-divide
}

void FloatOverflow()
{
    TrapFloatingPoint(_MM_MASK_OVERFLOW);
    g_double = std::numeric_limits<double>::max();
    g_double = g_double * g_double; // <- float-overflow
}

void FloatInvalid()
{
    TrapFloatingPoint(_MM_MASK_INVALID);
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

void FaultAtExit()
{
    g_number = *g_pointer; // <- at-exit
}

void AtExit()
{
    std::atexit(&FaultAtExit);
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
    {"two-threads", "two threads fault at the same time", &TwoThreads},
    {"at-exit", "fault in a function of atexit", &AtExit},
    {"static-destructor", "fault in a static destructor", &StaticDestructor},
};

} // namespace

std::span<const Scenario> Faults()
{
    return List;
}

} // namespace Ardo::Kiln::CrashProbe
