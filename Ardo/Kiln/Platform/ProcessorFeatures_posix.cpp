#include "Ardo/Kiln/Platform/ProcessorFeatures.h"

namespace Ardo::Kiln::Platform
{

bool HasAvx2() noexcept
{
    return __builtin_cpu_supports("avx2") != 0;
}

bool HasAvx512() noexcept
{
    return HasAvx2() && __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
           __builtin_cpu_supports("avx512vbmi") != 0;
}

} // namespace Ardo::Kiln::Platform
