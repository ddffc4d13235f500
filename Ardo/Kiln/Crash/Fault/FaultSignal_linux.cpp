#include "Ardo/Kiln/Crash/Fault/FaultSignal_linux.h"

#include "Ardo/Kiln/Crash/Fault/AbortReason_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/Instruction_linux.h"
#include "Ardo/Kiln/Crash/Fault/TerminateHandler_linux.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr std::uintptr_t Page = 4096;
constexpr std::uint64_t UnknownAddress = ~std::uint64_t(0);

// The processor's exception numbers ("vectors" in its manual), as the kernel hands them on.
constexpr greg_t TrapGeneralProtection = 13;
constexpr greg_t TrapPageFault = 14;
constexpr greg_t TrapAlignment = 17;

/// The result of ClassifySignal's parts: a code and its information words.
struct Fault
{
    std::uint32_t code = 0;
    std::uint32_t words = 0;
    std::uint64_t word0 = 0;
    std::uint64_t word1 = 0;
};

/// Whether the address that a thread touched shows that its stack is used up: in the pages below the lowest, or where
/// the stack pointer has left the stack. Memory just below a stack pointer that is inside is always there.
bool IsStackOverflow(const FaultThread& thread, std::uintptr_t address, std::uintptr_t stackPointer) noexcept
{
    constexpr std::uintptr_t reach = 0x10000;
    if (thread.stackLow != 0 && address < thread.stackLow + Page && address + reach >= thread.stackLow)
    {
        return true;
    }
    return address + reach >= stackPointer && address < stackPointer + Page;
}

Fault ClassifySegmentation(const FaultThread& thread, const siginfo_t& info, const ucontext_t& context) noexcept
{
    const auto& registers = context.uc_mcontext.gregs;
    Fault fault = {FaultCode::AccessViolation, 2, FaultAccess::Read, UnknownAddress};
    if (info.si_code <= 0)
    {
        return fault; // sent by a process: no instruction is at fault
    }
    if (registers[REG_TRAPNO] == TrapGeneralProtection)
    {
        if (IsPrivilegedInstruction(context))
        {
            return {FaultCode::PrivInstruction};
        }
        return fault; // an address that no memory can have; the processor does not tell which
    }
    const auto address = reinterpret_cast<std::uintptr_t>(info.si_addr);
    if (registers[REG_TRAPNO] == TrapPageFault)
    {
        const auto error = static_cast<unsigned long>(registers[REG_ERR]); // bit 1: a write, bit 4: a fetch
        fault.word0 = (error & 0x10U) != 0  ? FaultAccess::Execute
                      : (error & 0x2U) != 0 ? FaultAccess::Write
                                            : FaultAccess::Read;
        fault.word1 = address;
        if (fault.word0 != FaultAccess::Execute &&
            IsStackOverflow(thread, address, static_cast<std::uintptr_t>(registers[REG_RSP])))
        {
            fault.code = FaultCode::StackOverflow;
        }
    }
    return fault;
}

Fault ClassifyBus(const siginfo_t& info, const ucontext_t& context) noexcept
{
    const auto& registers = context.uc_mcontext.gregs;
    if (info.si_code == BUS_ADRALN && registers[REG_TRAPNO] == TrapAlignment)
    {
        return {FaultCode::DatatypeMisalignment};
    }
    if (info.si_code == BUS_ADRERR || info.si_code == BUS_OBJERR)
    {
        const bool write = (static_cast<unsigned long>(registers[REG_ERR]) & 0x2U) != 0;
        return {FaultCode::InPageError, 2, write ? FaultAccess::Write : FaultAccess::Read,
                reinterpret_cast<std::uintptr_t>(info.si_addr)};
    }
    return {FaultCode::AccessViolation, 2, FaultAccess::Read, UnknownAddress};
}

Fault ClassifyArithmetic(const siginfo_t& info, const ucontext_t& context) noexcept
{
    switch (info.si_code)
    {
    case FPE_INTDIV:
        return {DivisorOfInstruction(context).value_or(0) == 0 ? FaultCode::IntDivideByZero : FaultCode::IntOverflow};
    case FPE_INTOVF:
        return {FaultCode::IntOverflow};
    case FPE_FLTDIV:
        return {FaultCode::FltDivideByZero};
    case FPE_FLTOVF:
        return {FaultCode::FltOverflow};
    case FPE_FLTUND:
        return {FaultCode::FltUnderflow};
    case FPE_FLTRES:
        return {FaultCode::FltInexactResult};
    case FPE_FLTSUB:
        return {FaultCode::ArrayBoundsExceeded};
    default:
        return {FaultCode::FltInvalidOperation};
    }
}

/// The code for what the C library says about its reason; 0 for a reason that has no code of its own.
std::uint32_t CodeOfAbortReason(std::string_view reason) noexcept
{
    static constexpr std::array<std::string_view, 10> heapTexts = {
        "malloc(",      "free(",       "realloc(",  "calloc(",   "memalign",
        "munmap_chunk", "double free", "corrupted", "unaligned", "tcache"};
    if (std::any_of(heapTexts.begin(), heapTexts.end(),
                    [&](std::string_view start) { return reason.starts_with(start); }))
    {
        return FaultCode::HeapCorruption;
    }
    if (reason.starts_with("*** "))
    {
        return FaultCode::StackBufferOverrun;
    }
    return reason.find("ssertion") != std::string_view::npos ? FaultCode::AssertionFailure : 0;
}

Fault ClassifyAbort(const FaultThread& thread) noexcept
{
    if (const std::uint32_t code = CodeOfAbortReason(thread.abortReason); code != 0)
    {
        return {code};
    }
    if (thread.terminating && thread.uncaught.code == FaultCode::CxxException)
    {
        return {FaultCode::CxxException, 3, CxxExceptionMagic,
                reinterpret_cast<std::uintptr_t>(thread.uncaught.object)};
    }
    return {FaultCode::FatalAppExit};
}

Fault Classify(const FaultThread& thread, int signal, const siginfo_t& info, const ucontext_t& context) noexcept
{
    switch (signal)
    {
    case SIGSEGV:
        return ClassifySegmentation(thread, info, context);
    case SIGBUS:
        return ClassifyBus(info, context);
    case SIGFPE:
        return ClassifyArithmetic(info, context);
    case SIGILL:
        return {info.si_code == ILL_PRVOPC || info.si_code == ILL_PRVREG ? FaultCode::PrivInstruction
                                                                         : FaultCode::IllegalInstruction};
    case SIGTRAP:
        return {info.si_code == TRAP_TRACE ? FaultCode::SingleStep : FaultCode::Breakpoint};
    case SIGSYS:
        return {FaultCode::InvalidSystemService};
    default:
        return ClassifyAbort(thread);
    }
}

} // namespace

void ClassifySignal(FaultThread& thread, int signal, const siginfo_t& info, const ucontext_t& context) noexcept
{
    thread.signal = signal;
    thread.signalCode = info.si_code;
    thread.abortReason = signal == SIGABRT ? TakeAbortReason() : std::string_view();
    const Fault fault = Classify(thread, signal, info, context);
    if (const CONTEXT* const ofAbort = TakeAbortContext())
    {
        thread.context = *ofAbort;
    }
    else
    {
        ToContext(context, thread.context);
    }
    auto address = static_cast<std::uintptr_t>(thread.context.Rip);
    if (fault.code == FaultCode::Breakpoint && info.si_code > 0)
    {
        // Debuggers name the function that contains the instruction pointer. After a breakpoint that is the last
        // instruction of a function, this would be the next function. Windows moves the pointer back as well.
        address = BreakpointAddress(context);
        thread.context.Rip = address;
    }
    else if (fault.code == FaultCode::CxxException && thread.uncaught.address != 0)
    {
        address = thread.uncaught.address; // says more than where the runtime gave up
    }
    thread.record = {};
    thread.record.ExceptionCode = fault.code;
    thread.record.ExceptionFlags = signal == SIGABRT ? FaultFlag::Noncontinuable : 0;
    thread.record.ExceptionAddress = reinterpret_cast<void*>(address); // NOLINT(performance-no-int-to-ptr)
    thread.record.NumberParameters = fault.words;
    thread.record.ExceptionInformation[0] = fault.word0;
    thread.record.ExceptionInformation[1] = fault.word1;
}

void ToContext(const ucontext_t& source, CONTEXT& context) noexcept
{
    const auto& registers = source.uc_mcontext.gregs;
    const auto get = [&](int name) { return static_cast<std::uint64_t>(registers[name]); };
    context = {};
    context.ContextFlags = ContextFlag::Full;
    context.Rax = get(REG_RAX);
    context.Rcx = get(REG_RCX);
    context.Rdx = get(REG_RDX);
    context.Rbx = get(REG_RBX);
    context.Rsp = get(REG_RSP);
    context.Rbp = get(REG_RBP);
    context.Rsi = get(REG_RSI);
    context.Rdi = get(REG_RDI);
    context.R8 = get(REG_R8);
    context.R9 = get(REG_R9);
    context.R10 = get(REG_R10);
    context.R11 = get(REG_R11);
    context.R12 = get(REG_R12);
    context.R13 = get(REG_R13);
    context.R14 = get(REG_R14);
    context.R15 = get(REG_R15);
    context.Rip = get(REG_RIP);
    context.EFlags = static_cast<std::uint32_t>(get(REG_EFL));
    const std::uint64_t segments = get(REG_CSGSFS); // cs, gs, fs and ss, 16 bits each
    context.SegCs = static_cast<std::uint16_t>(segments);
    context.SegGs = static_cast<std::uint16_t>(segments >> 16U);
    context.SegFs = static_cast<std::uint16_t>(segments >> 32U);
    context.SegSs = static_cast<std::uint16_t>(segments >> 48U);
    if (source.uc_mcontext.fpregs != nullptr)
    {
        static_assert(sizeof(*source.uc_mcontext.fpregs) == sizeof context.FltSave);
        std::memcpy(context.FltSave, source.uc_mcontext.fpregs, sizeof context.FltSave);
        context.MxCsr = source.uc_mcontext.fpregs->mxcsr;
    }
}

int SignalOfCode(std::uint32_t code) noexcept
{
    switch (code)
    {
    case FaultCode::AccessViolation:
    case FaultCode::StackOverflow:
    case FaultCode::PrivInstruction:
    case FaultCode::GuardPage:
        return SIGSEGV;
    case FaultCode::DatatypeMisalignment:
    case FaultCode::InPageError:
        return SIGBUS;
    case FaultCode::IntDivideByZero:
    case FaultCode::IntOverflow:
    case FaultCode::FltDenormalOperand:
    case FaultCode::FltDivideByZero:
    case FaultCode::FltInexactResult:
    case FaultCode::FltInvalidOperation:
    case FaultCode::FltOverflow:
    case FaultCode::FltStackCheck:
    case FaultCode::FltUnderflow:
    case FaultCode::ArrayBoundsExceeded:
        return SIGFPE;
    case FaultCode::IllegalInstruction:
        return SIGILL;
    case FaultCode::Breakpoint:
    case FaultCode::SingleStep:
        return SIGTRAP;
    case FaultCode::InvalidSystemService:
        return SIGSYS;
    default:
        return SIGABRT;
    }
}

} // namespace Ardo::Kiln::Crash
