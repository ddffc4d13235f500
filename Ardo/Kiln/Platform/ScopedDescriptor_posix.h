#pragma once

#include "Ardo/Kiln/Platform/ScopedResource.h"

#include <unistd.h>

namespace Ardo::Kiln::Platform
{

struct DescriptorTraits
{
    using Value = int;
    static constexpr Value None = -1;
    static bool IsOpen(Value descriptor) noexcept { return descriptor != None; }
    static void Close(Value descriptor) noexcept { ::close(descriptor); }
};

/// Owns a file descriptor; -1 is "none". A signal handler may use it.
using ScopedDescriptor = ScopedResource<DescriptorTraits>;

} // namespace Ardo::Kiln::Platform
