#pragma once

#include <filesystem>

namespace Ardo::Kiln::Platform
{

/// The absolute path of the program or DLL that contains \p address, or an empty path. Any thread may call it.
/// \throws std::bad_alloc only.
std::filesystem::path ModulePathOf(const void* address);

} // namespace Ardo::Kiln::Platform
