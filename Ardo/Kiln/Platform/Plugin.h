#pragma once

#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Platform
{

/// The address of a function of a plug-in: a part of the library in a shared library of its own, which is loaded when
/// it is first needed and stays loaded. Its file is NAME-VERSION.so or NAME-VERSION.dll in the folder of the library.
/// The version is that of the library: the interface between the two is private and may change with every version.
///
/// Any thread may call it. Not for use after a fault: the loader takes locks.
/// \param name     of the plug-in, as in kiln_plugin() of CMake.
/// \param function its name in the file, without decoration (extern "C").
/// \throws std::runtime_error with the system's reason (UTF-8) if there is no such file, function or memory.
KILN_EXPORT_FOR_TESTS void* PluginFunction(const std::string& name, const char* function);

} // namespace Ardo::Kiln::Platform
