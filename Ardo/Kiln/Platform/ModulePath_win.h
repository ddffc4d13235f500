#pragma once

#include <filesystem>

namespace Ardo::Kiln::Platform
{

/// The absolute path of the program or DLL that contains \p address, or an empty path. Any thread may call it.
/// \throws std::bad_alloc only.
std::filesystem::path ModulePathOf(const void* address);

/// Keeps the library of this code loaded until the process ends, also when it is released: the system has addresses of
/// functions in it. Any thread may call it.
void KeepLibraryLoaded() noexcept;

} // namespace Ardo::Kiln::Platform
