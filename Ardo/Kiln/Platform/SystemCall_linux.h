#pragma once

// System calls without the C library round them, for code that must not touch errno: a process that shares its memory,
// and so its thread-local variables, with another.

namespace Ardo::Kiln::Platform
{

/// Calls the kernel of x86-64. \returns its answer; a failure is the negative error number.
inline long SystemCall(long number, long a = 0, long b = 0, long c = 0, long d = 0, long e = 0, long f = 0) noexcept
{
    long result = 0;
    register long r10 asm("r10") = d;
    register long r8 asm("r8") = e;
    register long r9 asm("r9") = f;
    asm volatile("syscall"
                 : "=a"(result)
                 : "0"(number), "D"(a), "S"(b), "d"(c), "r"(r10), "r"(r8), "r"(r9)
                 : "rcx", "r11", "memory");
    return result;
}

/// A pointer as the kernel takes it.
template <typename T>
long Word(T* pointer) noexcept
{
    return reinterpret_cast<long>(pointer);
}

} // namespace Ardo::Kiln::Platform
