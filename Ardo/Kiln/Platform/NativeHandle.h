#pragma once

#include "Ardo/Kiln/Platform/ScopedResource.h"
#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Platform
{

struct NativeHandleTraits
{
    using Value = std::intptr_t;
    static constexpr Value None = -1; ///< INVALID_HANDLE_VALUE, or no descriptor.
    static bool IsOpen(Value value) noexcept { return value != None; }
    KILN_EXPORT_FOR_TESTS static void Close(Value value) noexcept;
};

/// Owns an open file of the system, a HANDLE or a descriptor, in headers that name no system. A signal handler may call
/// Close().
using NativeHandle = ScopedResource<NativeHandleTraits>;

} // namespace Ardo::Kiln::Platform
