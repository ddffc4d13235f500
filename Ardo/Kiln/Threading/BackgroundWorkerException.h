#pragma once

#include "Ardo/KilnExport.h"

#include <stdexcept>

namespace Ardo::Kiln::Threading
{

/// Why a worker cannot do what it was asked for: it is stopped, or it would wait for itself, or it has no thread. A
/// mistake in how threads work together and no failure of the machine, so it stands outside the error family.
struct KILN_EXPORT BackgroundWorkerException : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

} // namespace Ardo::Kiln::Threading
