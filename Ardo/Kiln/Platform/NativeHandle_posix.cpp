#include "Ardo/Kiln/Platform/NativeHandle.h"

#include <unistd.h>

namespace Ardo::Kiln::Platform
{

void NativeHandleTraits::Close(Value value) noexcept
{
    ::close(static_cast<int>(value));
}

} // namespace Ardo::Kiln::Platform
