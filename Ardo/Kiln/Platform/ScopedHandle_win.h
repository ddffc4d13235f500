#pragma once

#include "Ardo/Kiln/Platform/ScopedResource.h"

#include <windows.h>

namespace Ardo::Kiln::Platform
{

struct HandleTraits
{
    using Value = HANDLE;
    static constexpr Value None = nullptr;
    static bool IsOpen(Value handle) noexcept { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }
    static void Close(Value handle) noexcept { ::CloseHandle(handle); }
};

/// Owns a kernel handle; both null and INVALID_HANDLE_VALUE are "none".
using ScopedHandle = ScopedResource<HandleTraits>;

} // namespace Ardo::Kiln::Platform
