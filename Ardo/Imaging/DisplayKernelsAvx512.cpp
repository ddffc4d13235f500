#include "Ardo/Imaging/DisplayKernels_p.h"

#include <immintrin.h>

// Only this function is compiled for AVX-512, for the reason given in DisplayKernelsAvx2.cpp.
#ifdef __GNUC__
#define KILN_AVX512_VBMI __attribute__((target("avx512f,avx512bw,avx512vbmi")))
#else
#define KILN_AVX512_VBMI
#endif

namespace Ardo::Imaging
{

namespace
{

/// One instruction looks 64 bytes up in half of the table. The highest bit of a byte says which half it is.
KILN_AVX512_VBMI void LookUp8(const std::uint8_t* in, std::size_t count, const std::uint8_t* table, std::uint8_t* out)
{
    constexpr std::size_t Bytes = 64; // of a register
    const __m512i table0 = _mm512_loadu_si512(table);
    const __m512i table1 = _mm512_loadu_si512(table + Bytes);
    const __m512i table2 = _mm512_loadu_si512(table + 2 * Bytes);
    const __m512i table3 = _mm512_loadu_si512(table + 3 * Bytes);
    std::size_t i = 0;
    for (; count - i >= Bytes; i += Bytes)
    {
        const __m512i values = _mm512_loadu_si512(in + i);
        const __m512i lower = _mm512_permutex2var_epi8(table0, values, table1);
        const __m512i upper = _mm512_permutex2var_epi8(table2, values, table3);
        _mm512_storeu_si512(out + i, _mm512_mask_blend_epi8(_mm512_movepi8_mask(values), lower, upper));
    }
    PortableDisplayKernels().lookUp8(in + i, count - i, table, out + i);
}

} // namespace

const DisplayKernels& Avx512DisplayKernels() noexcept
{
    static const DisplayKernels kernels = []
    {
        DisplayKernels others = Avx2DisplayKernels(); // they already wait for the memory
        others.lookUp8 = LookUp8;
        return others;
    }();
    return kernels;
}

} // namespace Ardo::Imaging
