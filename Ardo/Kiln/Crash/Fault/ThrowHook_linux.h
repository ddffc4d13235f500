#pragma once

#include <typeinfo>

namespace Ardo::Kiln::Crash
{

/// Shows an exception that is about to be thrown to the calling thread's vectored filters. \p address is the
/// instruction behind the throw.
void ShowThrow(void* object, const std::type_info* type, void* address) noexcept;

} // namespace Ardo::Kiln::Crash
