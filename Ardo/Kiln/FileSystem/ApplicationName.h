#pragma once

#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::FileSystem
{

/// The file name of the running executable without folder and extension, in UTF-8. Determined once per process.
///
/// Any thread may call it. The reference is valid until the process ends.
/// \throws std::runtime_error "Failed to get application name from executable." when the system does not provide it.
KILN_EXPORT const std::string& GetApplicationName();

} // namespace Ardo::Kiln::FileSystem
