#pragma once

#include "Ardo/Kiln/Platform/ModulePath.h"
#include "tests/Support/Process.h"

#include <filesystem>
#include <string>

namespace Ardo::Kiln::Support
{

/// Copies the library into \p folder, without its plug-ins.
/// \returns the text before a command of RunShell() with which the program loads the copy.
inline std::string WithLibraryCopy(const std::filesystem::path& folder)
{
    const auto library = Platform::LibraryPath(); // libCommon.so.1.0.0; programs look for libCommon.so.1
    std::filesystem::copy_file(library, folder / library.stem().stem());
    return "LD_LIBRARY_PATH=" + Quoted(folder) + " ";
}

} // namespace Ardo::Kiln::Support
