#include "Ardo/Kiln/Crash/Fault/Instruction_linux.h"

#include "Ardo/Kiln/Platform/ProcessMemory_linux.h"

#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstring>

namespace Ardo::Kiln::Crash
{

namespace
{

/// Reads memory of this process that may not be there.
/// \returns the number of bytes that were there.
std::size_t Peek(std::uintptr_t address, void* target, std::size_t size) noexcept
{
    return Platform::ReadProcessMemory(getpid(), address, target, size);
}

struct Instruction
{
    std::array<std::uint8_t, 15> bytes = {}; // the longest there are
    std::size_t count = 0;
};

std::uint64_t InstructionPointer(const ucontext_t& context) noexcept
{
    return static_cast<std::uint64_t>(context.uc_mcontext.gregs[REG_RIP]);
}

Instruction InstructionAt(std::uintptr_t address) noexcept
{
    Instruction instruction;
    instruction.count = Peek(address, instruction.bytes.data(), instruction.bytes.size());
    if (instruction.count == 0 && address % Platform::PageSize > Platform::PageSize - instruction.bytes.size())
    {
        instruction.count = Peek(address, instruction.bytes.data(), Platform::PageSize - address % Platform::PageSize);
    }
    return instruction;
}

std::uint64_t Register(const ucontext_t& context, unsigned number) noexcept
{
    // In the order in which instructions number them.
    static constexpr std::array<int, 16> order = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP,
                                                  REG_RSI, REG_RDI, REG_R8,  REG_R9,  REG_R10, REG_R11,
                                                  REG_R12, REG_R13, REG_R14, REG_R15};
    return static_cast<std::uint64_t>(context.uc_mcontext.gregs[order[number & 15U]]);
}

template <typename Offset>
std::uint64_t SignExtended(const std::uint8_t* bytes) noexcept
{
    Offset offset = 0;
    std::memcpy(&offset, bytes, sizeof offset);
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(offset));
}

/// The address of a memory operand ("ModRM and SIB bytes" in the manual). \p at is the index of the byte behind ModRM;
/// an immediate operand must not follow, because addresses relative to RIP count from the end of the instruction.
std::uint64_t OperandAddress(const ucontext_t& context, const Instruction& instruction, unsigned rex, unsigned modrm,
                             std::size_t at) noexcept
{
    const auto& bytes = instruction.bytes;
    const unsigned mode = modrm >> 6U;
    const unsigned base = modrm & 7U;
    const bool relative = mode == 0 && base == 5;
    bool longOffset = mode == 2 || relative;
    std::uint64_t address = 0;
    if (base == 4)
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
        address = Register(context, base | ((rex & 1U) << 3U));
    }
    if (longOffset)
    {
        address += SignExtended<std::int32_t>(&bytes[at]);
        at += sizeof(std::int32_t);
    }
    else if (mode == 1)
    {
        address += SignExtended<std::int8_t>(&bytes[at++]);
    }
    return relative ? address + InstructionPointer(context) + at : address;
}

} // namespace

bool IsPrivilegedInstruction(const ucontext_t& context) noexcept
{
    const Instruction instruction = InstructionAt(InstructionPointer(context));
    const auto& bytes = instruction.bytes;
    std::size_t at = 0;
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

std::optional<std::uint64_t> DivisorOfInstruction(const ucontext_t& context) noexcept
{
    const Instruction instruction = InstructionAt(InstructionPointer(context));
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
    std::uint64_t value = 0;
    if (modrm >> 6U == 3)
    {
        const unsigned operand = (modrm & 7U) | ((rex & 1U) << 3U);
        const bool highByte = size == 1 && rex == 0 && operand >= 4; // ah to bh
        value = highByte ? Register(context, operand - 4) >> 8U : Register(context, operand);
    }
    else if (Peek(OperandAddress(context, instruction, rex, modrm, at), &value, size) != size)
    {
        return {};
    }
    return size == 8 ? value : value & ((std::uint64_t(1) << (size * 8U)) - 1);
}

std::uint64_t BreakpointAddress(const ucontext_t& context) noexcept
{
    const std::uint64_t behind = InstructionPointer(context);
    std::array<std::uint8_t, 2> bytes = {};
    const bool read = Peek(behind - bytes.size(), bytes.data(), bytes.size()) == bytes.size();
    if (read && bytes[0] == 0xCD && bytes[1] == 0x03)
    {
        return behind - 2; // "int 3" in its long form
    }
    return read && (bytes[1] == 0xCC || bytes[1] == 0xF1) ? behind - 1 : behind; // int3, int1
}

} // namespace Ardo::Kiln::Crash
