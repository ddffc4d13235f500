#pragma once

// The structures that describe a fault: its code, its address and the registers of the processor. On Windows these are
// the structures of the system; elsewhere structures with the same names and layouts are filled from signals. Public,
// because the callbacks of the exception handler receive them.

#ifdef _WIN32

struct _EXCEPTION_POINTERS; // NOLINT(bugprone-reserved-identifier): the name that the system gives it
using EXCEPTION_POINTERS = _EXCEPTION_POINTERS;
struct _CONTEXT; // NOLINT(bugprone-reserved-identifier): the same
using CONTEXT = _CONTEXT;

#else

#include <cstdint>

/// Code and address of a fault. Layout of Windows x64.
struct EXCEPTION_RECORD // NOLINT(readability-identifier-naming): the system's name
{
    std::uint32_t ExceptionCode;            ///< One of Crash::FaultCode, or a code of the raiser.
    std::uint32_t ExceptionFlags;           ///< Bits; see Crash::FaultFlag.
    EXCEPTION_RECORD* ExceptionRecord;      ///< The fault during whose handling this one happened, or null.
    void* ExceptionAddress;                 ///< The instruction at fault.
    std::uint32_t NumberParameters;         ///< Number of used words of ExceptionInformation, 0 to 15.
    std::uint64_t ExceptionInformation[15]; ///< Meaning depends on the code.
};

/// The registers of a thread. Layout of Windows x64 and of minidump files.
struct alignas(16) CONTEXT
{
    /// \cond Registers are called as in the processor's manual.
    std::uint64_t P1Home, P2Home, P3Home, P4Home, P5Home, P6Home;
    std::uint32_t ContextFlags; // which groups of registers are set; see Crash::ContextFlag
    std::uint32_t MxCsr;
    std::uint16_t SegCs, SegDs, SegEs, SegFs, SegGs, SegSs;
    std::uint32_t EFlags;
    std::uint64_t Dr0, Dr1, Dr2, Dr3, Dr6, Dr7;
    std::uint64_t Rax, Rcx, Rdx, Rbx, Rsp, Rbp, Rsi, Rdi;
    std::uint64_t R8, R9, R10, R11, R12, R13, R14, R15;
    std::uint64_t Rip;
    std::uint8_t FltSave[512]; // the FXSAVE area
    std::uint8_t VectorRegister[26][16];
    std::uint64_t VectorControl, DebugControl;
    std::uint64_t LastBranchToRip, LastBranchFromRip, LastExceptionToRip, LastExceptionFromRip;
    /// \endcond
};

/// The argument of a fault filter.
struct EXCEPTION_POINTERS // NOLINT(readability-identifier-naming): the system's name
{
    EXCEPTION_RECORD* ExceptionRecord; ///< Never null.
    CONTEXT* ContextRecord;            ///< Never null.
};

static_assert(sizeof(EXCEPTION_RECORD) == 152);
static_assert(sizeof(CONTEXT) == 1232);

#endif
