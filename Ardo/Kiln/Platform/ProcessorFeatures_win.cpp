#include "Ardo/Kiln/Platform/ProcessorFeatures.h"

#include <windows.h>

// After windows.h, whose types it needs in some versions.
#include <intrin.h>

#include <array>
#include <bit>

namespace Ardo::Kiln::Platform
{

namespace
{

// The registers that the system saves, as XCR0 numbers them: SSE and AVX, and those of AVX-512.
constexpr DWORD64 AvxState = 0x06;
constexpr DWORD64 Avx512State = 0xE6;

bool Saves(DWORD64 state) noexcept
{
    return (::GetEnabledXStateFeatures() & state) == state;
}

/// Whether the bits are set in EBX and ECX of leaf 7 of CPUID.
bool HasFeatures(unsigned ebx, unsigned ecx) noexcept
{
    constexpr int Leaf = 7;
    std::array<int, 4> registers = {};
    __cpuidex(registers.data(), 0, 0);
    if (registers[0] < Leaf) // the highest leaf
    {
        return false;
    }
    __cpuidex(registers.data(), Leaf, 0);
    return (std::bit_cast<unsigned>(registers[1]) & ebx) == ebx && (std::bit_cast<unsigned>(registers[2]) & ecx) == ecx;
}

constexpr unsigned Avx2 = 1U << 5U;
constexpr unsigned Avx512 = 1U << 16U | 1U << 30U; // the foundation, and BW
constexpr unsigned Avx512Vbmi = 1U << 1U;          // in ECX

} // namespace

bool HasAvx2() noexcept
{
    return Saves(AvxState) && HasFeatures(Avx2, 0);
}

bool HasAvx512() noexcept
{
    return Saves(Avx512State) && HasFeatures(Avx2 | Avx512, Avx512Vbmi);
}

} // namespace Ardo::Kiln::Platform
