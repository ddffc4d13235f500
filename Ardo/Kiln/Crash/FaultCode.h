#pragma once

#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// The codes of structured exceptions, as Windows numbers them (ntstatus.h). On Linux signals become the same codes.
/// Plain numbers, because a raiser may use codes of its own.
namespace FaultCode
{
inline constexpr std::uint32_t ControlCExit = 0xC000013A; ///< The console was interrupted.
inline constexpr std::uint32_t DebugPrint = 0x40010006;   ///< Text for a debugger.
inline constexpr std::uint32_t FatalAppExit =
    0x40000015;                                        ///< The program gave up; on Linux abort() without a better code.
inline constexpr std::uint32_t GuardPage = 0x80000001; ///< A guard page was touched.
inline constexpr std::uint32_t DatatypeMisalignment = 0x80000002; ///< A misaligned address.
inline constexpr std::uint32_t Breakpoint = 0x80000003;           ///< A breakpoint instruction.
inline constexpr std::uint32_t SingleStep = 0x80000004;           ///< One instruction was traced.
inline constexpr std::uint32_t AccessViolation =
    0xC0000005; ///< Memory that is unmapped or protected against this access; see FaultAccess.
inline constexpr std::uint32_t InPageError = 0xC0000006;   ///< Memory whose file cannot be read; see FaultAccess.
inline constexpr std::uint32_t InvalidHandle = 0xC0000008; ///< An invalid handle.
inline constexpr std::uint32_t InvalidSystemService = 0xC000001C;    ///< A system call that is not allowed.
inline constexpr std::uint32_t IllegalInstruction = 0xC000001D;      ///< An invalid instruction.
inline constexpr std::uint32_t NoncontinuableException = 0xC0000025; ///< A filter continued a noncontinuable fault.
inline constexpr std::uint32_t InvalidDisposition = 0xC0000026;      ///< A filter returned an unknown value.
inline constexpr std::uint32_t ArrayBoundsExceeded = 0xC000008C;     ///< The processor found an index out of bounds.
inline constexpr std::uint32_t FltDenormalOperand = 0xC000008D;      ///< An operand too small to be normal.
inline constexpr std::uint32_t FltDivideByZero = 0xC000008E;         ///< Floating-point division by zero.
inline constexpr std::uint32_t FltInexactResult = 0xC000008F;        ///< A result that is not exact.
inline constexpr std::uint32_t FltInvalidOperation = 0xC0000090;     ///< Any other floating-point fault.
inline constexpr std::uint32_t FltOverflow = 0xC0000091;             ///< A result too large.
inline constexpr std::uint32_t FltStackCheck = 0xC0000092;           ///< The stack of the old floating-point unit.
inline constexpr std::uint32_t FltUnderflow = 0xC0000093;            ///< A result too small.
inline constexpr std::uint32_t IntDivideByZero = 0xC0000094;         ///< Integer division by zero.
inline constexpr std::uint32_t IntOverflow = 0xC0000095;             ///< A quotient that does not fit.
inline constexpr std::uint32_t PrivInstruction = 0xC0000096;    ///< An instruction that is reserved for the kernel.
inline constexpr std::uint32_t StackOverflow = 0xC00000FD;      ///< The thread's stack is used up.
inline constexpr std::uint32_t HeapCorruption = 0xC0000374;     ///< The allocator found its data damaged.
inline constexpr std::uint32_t StackBufferOverrun = 0xC0000409; ///< A local buffer was overrun.
inline constexpr std::uint32_t AssertionFailure = 0xC0000420;   ///< An assertion does not hold.
inline constexpr std::uint32_t CxxException = 0xE06D7363;       ///< A C++ exception, raised by the language runtime.
inline constexpr std::uint32_t GccException = 0x20474343;       ///< The same, raised on Windows by code of gcc.
} // namespace FaultCode

/// First information word of a C++ exception's record (see FaultCode::CxxException); the second is the exception
/// object, the third describes its type.
inline constexpr std::uint64_t CxxExceptionMagic = 0x19930520;

/// Bits of EXCEPTION_RECORD::ExceptionFlags.
namespace FaultFlag
{
inline constexpr std::uint32_t Noncontinuable = 0x1; ///< The thread cannot go on.
inline constexpr std::uint32_t Unwinding = 0x2;      ///< The stack is being unwound.
inline constexpr std::uint32_t StackInvalid = 0x8;   ///< The stack cannot be walked.
inline constexpr std::uint32_t NestedCall = 0x10;    ///< During the handling of another one.
inline constexpr std::uint32_t TargetUnwind = 0x20;  ///< Unwinding has reached its target.
} // namespace FaultFlag

/// First information word of an access violation and of an in-page error; the second is the address, or all ones when
/// the processor does not tell it.
namespace FaultAccess
{
inline constexpr std::uint64_t Read = 0;    ///< It was read.
inline constexpr std::uint64_t Write = 1;   ///< It was written.
inline constexpr std::uint64_t Execute = 8; ///< It was to be executed.
} // namespace FaultAccess

/// Values of CONTEXT::ContextFlags: the processor, and the groups of registers that are set.
namespace ContextFlag
{
inline constexpr std::uint32_t Control = 0x100001; ///< Rip, Rsp, SegCs, SegSs, EFlags.
inline constexpr std::uint32_t Full = 0x10000F;    ///< Control, integer, segment and floating-point registers.
} // namespace ContextFlag

} // namespace Ardo::Kiln::Crash
