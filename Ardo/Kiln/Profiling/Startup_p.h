#pragma once

#include "Ardo/Kiln/Platform/ProcessStart.h"

namespace Ardo::Kiln::Profiling::Private
{

/// The start of the process; where the system does not tell it, the first call of this function, with a resolution
/// of 0. Any thread may call it.
const Platform::ProcessStart& StartOfProcess() noexcept;

} // namespace Ardo::Kiln::Profiling::Private
