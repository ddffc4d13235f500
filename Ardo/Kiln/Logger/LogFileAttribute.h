#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Logger
{

/// Removes the hidden and the read-only attribute of a log file, so that it can be found and written. A missing file is
/// no error.
///
/// \param path in the narrow encoding of paths: on Windows the ANSI code page, on Linux UTF-8.
/// \throws std::runtime_error "Can not use file log " + path + " hidden on filesystem." or "Can not use file log " +
///         path + " read only on filesystem." when the attribute cannot be removed. On Linux no file whose name begins
///         with a dot can be un-hidden.
/// Any thread may call it.
KILN_EXPORT void CheckLogFileAttribute(const char* path);

} // namespace Ardo::Kiln::Logger
