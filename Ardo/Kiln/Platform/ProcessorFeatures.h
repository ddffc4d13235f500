#pragma once

namespace Ardo::Kiln::Platform
{

// Which instructions the processor has and the system supports by saving their registers.

/// AVX2.
bool HasAvx2() noexcept;

/// AVX2, and of AVX-512 the foundation and the instructions for bytes (F, BW and VBMI).
bool HasAvx512() noexcept;

} // namespace Ardo::Kiln::Platform
