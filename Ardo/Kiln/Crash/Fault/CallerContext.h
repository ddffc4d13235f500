#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Crash
{

/// The registers of the function that has called the caller of this one, as they are behind that call. On Linux as far
/// as its frame describes them.
KILN_EXPORT_FOR_TESTS void CaptureCallerContext(CONTEXT& context) noexcept;

} // namespace Ardo::Kiln::Crash
