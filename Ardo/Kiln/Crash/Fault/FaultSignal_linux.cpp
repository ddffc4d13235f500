#include "Ardo/Kiln/Crash/Fault/FaultSignal_linux.h"

#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

#include <dlfcn.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string_view>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr std::uintptr_t Page = 4096;
constexpr std::uint64_t UnknownAddress = ~std::uint64_t(0);

// The processor's exception numbers ("vectors" in its manual), as the kernel hands them on.
constexpr greg_t TrapInvalidOpcodeOrPrivilege = 13;
constexpr greg_t TrapPageFault = 14;
constexpr greg_t TrapAlignment = 17;

/// What glibc keeps about why it ends the process: set before it raises SIGABRT.
struct AbortMessage
{
    unsigned size;
    char text[1];
};
AbortMessage* const* g_abortMessage = nullptr;
const AbortMessage* g_seenAbortMessage = nullptr; // of an abort that the process survived: it stays set

/// The result of ClassifySignal's parts: a code and its information words.
struct Fault
{
    std::uint32_t code = 0;
    std::uint32_t words = 0;
    std::uint64_t word0 = 0;
    std::uint64_t word1 = 0;
};

/// Reads memory that may not be there. \return how many bytes there were.
std::size_t Peek(std::uintptr_t address, void* target, std::size_t size) noexcept
{
    const iovec to = {target, size};
    const iovec from = {reinterpret_cast<void*>(address), size}; // NOLINT(performance-no-int-to-ptr)
    const ssize_t got = process_vm_readv(getpid(), &to, 1, &from, 1, 0);
    return got < 0 ? 0 : static_cast<std::size_t>(got);
}

struct Instruction
{
    std::array<std::uint8_t, 15> bytes = {}; // the longest there are
    std::size_t count = 0;
};

Instruction InstructionAt(std::uintptr_t address) noexcept
{
    Instruction instruction;
    instruction.count = Peek(address, instruction.bytes.data(), instruction.bytes.size());
    if (instruction.count == 0 && address % Page > Page - instruction.bytes.size())
    {
        instruction.count = Peek(address, instruction.bytes.data(), Page - address % Page);
    }
    return instruction;
}

/// Whether the instruction is one that only the system may use: hlt, cli, sti, in, out, and moves to control and debug
/// registers (AMD64 Architecture Programmer's Manual, volume 3, "System Instruction Reference").
bool IsPrivileged(const Instruction& instruction) noexcept
{
    std::size_t at = 0;
    const auto& bytes = instruction.bytes;
    while (at + 1 < instruction.count && ((bytes[at] & 0xF0U) == 0x40 || bytes[at] == 0x66 || bytes[at] == 0xF3))
    {
        ++at; // prefixes
    }
    if (at >= instruction.count)
    {
        return false;
    }
    const unsigned opcode = bytes[at];
    if (opcode == 0x0F && at + 1 < instruction.count)
    {
        const unsigned second = bytes[at + 1];
        return (second >= 0x20 && second <= 0x23) || second == 0x00 || second == 0x01 || second == 0x06 ||
               second == 0x08 || second == 0x09 || second == 0x30 || second == 0x32;
    }
    return opcode == 0xF4 || opcode == 0xFA || opcode == 0xFB || (opcode >= 0xE4 && opcode <= 0xE7) ||
           (opcode >= 0xEC && opcode <= 0xEF) || (opcode >= 0x6C && opcode <= 0x6F);
}

std::uint64_t Register(const ucontext_t& context, unsigned number) noexcept
{
    // In the order in which instructions number them.
    static constexpr std::array<int, 16> order = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP,
                                                  REG_RSI, REG_RDI, REG_R8,  REG_R9,  REG_R10, REG_R11,
                                                  REG_R12, REG_R13, REG_R14, REG_R15};
    return static_cast<std::uint64_t>(context.uc_mcontext.gregs[order[number & 15U]]);
}

/// The divisor of the division instruction at fault; the processor does not tell a zero one from a quotient that does
/// not fit. Empty when the instruction is no division. (Encoding: the same manual, "ModRM and SIB bytes".)
std::optional<std::uint64_t> Divisor(const ucontext_t& context) noexcept
{
    const Instruction instruction = InstructionAt(static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RIP]));
    const auto& bytes = instruction.bytes;
    std::size_t at = 0;
    std::size_t size = 4;
    unsigned rex = 0;
    while (at < 4 && (bytes[at] == 0x66 || bytes[at] == 0xF2 || bytes[at] == 0xF3))
    {
        size = bytes[at] == 0x66 ? 2 : size;
        ++at;
    }
    if ((bytes[at] & 0xF0U) == 0x40)
    {
        rex = bytes[at++];
        size = (rex & 8U) != 0 ? 8 : size;
    }
    const unsigned opcode = bytes[at++];
    const unsigned modrm = bytes[at++];
    if ((opcode != 0xF6 && opcode != 0xF7) || (modrm & 0x30U) != 0x30 || instruction.count < at)
    {
        return {};
    }
    size = opcode == 0xF6 ? 1 : size;
    const unsigned mode = modrm >> 6U;
    const unsigned operand = (modrm & 7U) | ((rex & 1U) << 3U);
    std::uint64_t value = 0;
    if (mode == 3)
    {
        const bool highByte = size == 1 && rex == 0 && operand >= 4; // ah to bh
        value = highByte ? Register(context, operand - 4) >> 8U : Register(context, operand);
    }
    else
    {
        std::uint64_t address = 0;
        bool relative = mode == 0 && (modrm & 7U) == 5;
        bool longOffset = mode == 2 || relative;
        if ((modrm & 7U) == 4)
        {
            const unsigned sib = bytes[at++];
            const unsigned index = ((sib >> 3U) & 7U) | ((rex & 2U) << 2U);
            const bool noBase = mode == 0 && (sib & 7U) == 5;
            longOffset = longOffset || noBase;
            address = noBase ? 0 : Register(context, (sib & 7U) | ((rex & 1U) << 3U));
            address += index == 4 ? 0 : Register(context, index) << (sib >> 6U);
        }
        else if (!relative)
        {
            address = Register(context, operand);
        }
        if (longOffset)
        {
            std::int32_t offset = 0;
            std::memcpy(&offset, &bytes[at], sizeof offset);
            at += sizeof offset;
            address += static_cast<std::uint64_t>(static_cast<std::int64_t>(offset));
        }
        else if (mode == 1)
        {
            address += static_cast<std::uint64_t>(static_cast<std::int64_t>(static_cast<std::int8_t>(bytes[at++])));
        }
        if (relative)
        {
            address += static_cast<std::uint64_t>(context.uc_mcontext.gregs[REG_RIP]) + at;
        }
        if (Peek(address, &value, size) != size)
        {
            return {};
        }
    }
    return size == 8 ? value : value & ((std::uint64_t(1) << (size * 8U)) - 1);
}

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
    if (registers[REG_TRAPNO] == TrapInvalidOpcodeOrPrivilege)
    {
        if (IsPrivileged(InstructionAt(static_cast<std::uintptr_t>(registers[REG_RIP]))))
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
        return {Divisor(context).value_or(0) == 0 ? FaultCode::IntDivideByZero : FaultCode::IntOverflow};
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

Fault ClassifyAbort(const FaultThread& thread) noexcept
{
    static constexpr std::array<std::string_view, 9> heapTexts = {
        "malloc(", "free(", "realloc(", "calloc(", "munmap_chunk", "double free", "corrupted", "unaligned", "tcache"};
    const AbortMessage* const message = g_abortMessage != nullptr ? *g_abortMessage : nullptr;
    if (message != nullptr && message != g_seenAbortMessage)
    {
        g_seenAbortMessage = message;
        const std::string_view text = message->text;
        if (std::any_of(heapTexts.begin(), heapTexts.end(),
                        [&](std::string_view start) { return text.starts_with(start); }) ||
            text.starts_with("memalign"))
        {
            return {FaultCode::HeapCorruption};
        }
        if (text.starts_with("*** "))
        {
            return {FaultCode::StackBufferOverrun};
        }
        if (text.find("ssertion") != std::string_view::npos)
        {
            return {FaultCode::AssertionFailure};
        }
    }
    if (thread.terminating && thread.lastThrow.code == FaultCode::CxxException)
    {
        return {FaultCode::CxxException, 3, CxxExceptionMagic,
                reinterpret_cast<std::uintptr_t>(thread.lastThrow.object)};
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

void PrepareClassification() noexcept
{
    // Private to the C library, but the only place that tells why it gave up. Without it the reason is unknown.
    g_abortMessage = static_cast<AbortMessage**>(dlvsym(RTLD_DEFAULT, "__abort_msg", "GLIBC_PRIVATE"));
}

void ClassifySignal(FaultThread& thread, int signal, const siginfo_t& info, const ucontext_t& context) noexcept
{
    const Fault fault = Classify(thread, signal, info, context);
    thread.signal = signal;
    thread.signalCode = info.si_code;
    auto address = static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RIP]);
    if (fault.code == FaultCode::Breakpoint && info.si_code > 0)
    {
        --address; // the processor stands behind the instruction
    }
    else if (fault.code == FaultCode::CxxException && thread.lastThrow.address != 0)
    {
        address = thread.lastThrow.address; // says more than where the runtime gave up
    }
    thread.record = {};
    thread.record.ExceptionCode = fault.code;
    thread.record.ExceptionFlags = signal == SIGABRT ? FaultFlag::Noncontinuable : 0;
    thread.record.ExceptionAddress = reinterpret_cast<void*>(address); // NOLINT(performance-no-int-to-ptr)
    thread.record.NumberParameters = fault.words;
    thread.record.ExceptionInformation[0] = fault.word0;
    thread.record.ExceptionInformation[1] = fault.word1;
    ToContext(context, thread.context);
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
