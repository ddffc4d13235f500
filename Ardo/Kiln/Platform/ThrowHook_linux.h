#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"

#include <typeinfo>

namespace Ardo::Kiln::Platform
{

/// Shows an exception that is about to be thrown to the calling thread's vectored filters. \p address is the
/// instruction behind the throw.
void ShowThrow(void* object, const std::type_info* type, void* address) noexcept;

/// The registers of the function that called the caller, as far as its frame describes them.
void CaptureCallerContext(CONTEXT& context) noexcept;

} // namespace Ardo::Kiln::Platform
