#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <cstddef>
#include <string>

namespace Ardo::Kiln::Exception
{

/// Names the modules and functions at addresses of this process.
///
/// Names come from the debug information on this machine: of the modules themselves or, on Linux, of the system's
/// folder of separate debug information; no server is asked. Any thread may call the functions. They throw
/// std::bad_alloc only.
class KILN_EXPORT SymbolHandler
{
public:
    SymbolHandler() = delete;

    /// The file, with its folder, of the program or library that holds \p address; empty outside every module.
    static std::wstring GetModuleName(const void* address);

    /// The call stack of a stopped thread, the innermost function first, one line a call:
    ///
    ///     "  FUNCTION at FILE line LINE\r\n"            with a source line
    ///     "  [inlined] FUNCTION at FILE line LINE\r\n"  when it was inlined into the function of the next line
    ///     "  FUNCTION in MODULE + 0xOFFSET\r\n"         without a source line
    ///     "  0xADDRESS in MODULE + 0xOFFSET\r\n"        without a name
    ///     "  0xADDRESS in unknown module\r\n"           outside every module
    ///
    /// \param context registers of the thread, not null.
    /// \param limit of lines, those of inlined functions not counted.
    /// \returns UTF-8. Empty if the stack cannot be read.
    static std::string GetStackDetails(const CONTEXT* context, std::size_t limit);
};

} // namespace Ardo::Kiln::Exception
