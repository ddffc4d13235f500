#pragma once

#include <cstdint>

namespace Ardo::Kiln::Platform
{

/// The codes of structured exceptions, as Windows numbers them (ntstatus.h). On Linux signals become the same codes.
/// Plain numbers, because a raiser may use codes of its own.
namespace FaultCode
{
inline constexpr std::uint32_t ControlCExit = 0xC000013A;
inline constexpr std::uint32_t DebugPrint = 0x40010006;
inline constexpr std::uint32_t FatalAppExit = 0x40000015;
inline constexpr std::uint32_t GuardPage = 0x80000001;
inline constexpr std::uint32_t DatatypeMisalignment = 0x80000002;
inline constexpr std::uint32_t Breakpoint = 0x80000003;
inline constexpr std::uint32_t SingleStep = 0x80000004;
inline constexpr std::uint32_t AccessViolation = 0xC0000005;
inline constexpr std::uint32_t InPageError = 0xC0000006;
inline constexpr std::uint32_t InvalidHandle = 0xC0000008;
inline constexpr std::uint32_t InvalidSystemService = 0xC000001C;
inline constexpr std::uint32_t IllegalInstruction = 0xC000001D;
inline constexpr std::uint32_t NoncontinuableException = 0xC0000025;
inline constexpr std::uint32_t InvalidDisposition = 0xC0000026;
inline constexpr std::uint32_t ArrayBoundsExceeded = 0xC000008C;
inline constexpr std::uint32_t FltDenormalOperand = 0xC000008D;
inline constexpr std::uint32_t FltDivideByZero = 0xC000008E;
inline constexpr std::uint32_t FltInexactResult = 0xC000008F;
inline constexpr std::uint32_t FltInvalidOperation = 0xC0000090;
inline constexpr std::uint32_t FltOverflow = 0xC0000091;
inline constexpr std::uint32_t FltStackCheck = 0xC0000092;
inline constexpr std::uint32_t FltUnderflow = 0xC0000093;
inline constexpr std::uint32_t IntDivideByZero = 0xC0000094;
inline constexpr std::uint32_t IntOverflow = 0xC0000095;
inline constexpr std::uint32_t PrivInstruction = 0xC0000096;
inline constexpr std::uint32_t StackOverflow = 0xC00000FD;
inline constexpr std::uint32_t HeapCorruption = 0xC0000374;
inline constexpr std::uint32_t StackBufferOverrun = 0xC0000409;
inline constexpr std::uint32_t AssertionFailure = 0xC0000420;
inline constexpr std::uint32_t CxxException = 0xE06D7363; ///< The language runtime's own: a C++ exception.
} // namespace FaultCode

/// Bits of EXCEPTION_RECORD::ExceptionFlags.
namespace FaultFlag
{
inline constexpr std::uint32_t Noncontinuable = 0x1;
inline constexpr std::uint32_t Unwinding = 0x2;
inline constexpr std::uint32_t StackInvalid = 0x8;
inline constexpr std::uint32_t NestedCall = 0x10;
inline constexpr std::uint32_t TargetUnwind = 0x20;
} // namespace FaultFlag

/// First information word of an access violation and of an in-page error; the second is the address, or all ones when
/// the processor does not tell it.
namespace FaultAccess
{
inline constexpr std::uint64_t Read = 0;
inline constexpr std::uint64_t Write = 1;
inline constexpr std::uint64_t Execute = 8;
} // namespace FaultAccess

/// Values of CONTEXT::ContextFlags: the processor, and the groups of registers that are set.
namespace ContextFlag
{
inline constexpr std::uint32_t Control = 0x100001; ///< Rip, Rsp, SegCs, SegSs, EFlags.
inline constexpr std::uint32_t Full = 0x10000F;    ///< Control, integer, segment and floating-point registers.
} // namespace ContextFlag

} // namespace Ardo::Kiln::Platform
