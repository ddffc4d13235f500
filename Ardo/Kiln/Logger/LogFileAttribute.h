#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Logger
{

/// Makes sure that neither a hidden nor a read-only attribute keeps a log file from being written or found. A missing
/// file passes.
///
/// \param path in the narrow encoding of paths: on Windows the ANSI code page, on Linux UTF-8.
/// \throws std::runtime_error "Can not use file log " + path + " hidden on filesystem." or "Can not use file log " +
///         path + " read only on filesystem." when the attribute cannot be removed. On Linux no file whose name begins
///         with a dot can be un-hidden.
/// Any thread may call it.
KILN_EXPORT void CheckLogFileAttribute(const char* path);

} // namespace Ardo::Kiln::Logger
