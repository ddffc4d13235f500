#pragma once

#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::FileSystem
{

/// The running executable's file name without folder and extension, in UTF-8. Read once per process.
///
/// \throws std::runtime_error "Failed to get application name from executable." when the system does not tell it.
/// Any thread may call it; the reference stays valid for the life of the process.
KILN_EXPORT const std::string& GetApplicationName();

} // namespace Ardo::Kiln::FileSystem
