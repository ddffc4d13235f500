#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"

namespace Ardo::Kiln::Crash
{

/// The registers of the function that called the caller, as far as its frame describes them.
void CaptureCallerContext(CONTEXT& context) noexcept;

} // namespace Ardo::Kiln::Crash
