#pragma once

// System calls without the C library, for code that must not touch errno: in a process that shares its memory, and so
// its thread-local variables, with another process.

namespace Ardo::Kiln::Crash
{

/// Calls the kernel of x86-64.
/// \returns its answer; a failure is the negative error number.
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

/// Starts a process that runs \p function on a stack of its own and ends with what it returns. The C library's function
/// would write to errno, and to what a sanitizer keeps of a thread.
/// \param flags as clone(2) has them.
/// \param stackEnd behind the highest byte of the stack, aligned to 16 bytes.
/// \returns its number, or the negative error number.
inline long StartProcess(unsigned long flags, char* stackEnd, int (*function)()) noexcept
{
    constexpr long cloneNumber = 56;
    long result = 0;
    register long r10 asm("r10") = 0;
    register long r8 asm("r8") = 0;
    register int (*child)() asm("r12") = function; // the kernel keeps it
    asm volatile("syscall\n\t"
                 "testq %%rax, %%rax\n\t"
                 "jnz 1f\n\t"
                 "xorl %%ebp, %%ebp\n\t"
                 "callq *%%r12\n\t"
                 "movl %%eax, %%edi\n\t"
                 "movl $60, %%eax\n\t" // exit
                 "syscall\n\t"
                 "hlt\n"
                 "1:"
                 : "=a"(result)
                 : "0"(cloneNumber), "D"(flags), "S"(stackEnd), "d"(0L), "r"(r10), "r"(r8), "r"(child)
                 : "rcx", "r11", "memory");
    return result;
}

/// A pointer as the kernel takes it.
template <typename T>
long ToSyscallArgument(T* pointer) noexcept
{
    return reinterpret_cast<long>(pointer);
}

} // namespace Ardo::Kiln::Crash
