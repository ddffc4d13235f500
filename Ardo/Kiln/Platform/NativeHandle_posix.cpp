#include "Ardo/Kiln/Platform/NativeHandle.h"

#include <unistd.h>

namespace Ardo::Kiln::Platform
{

void NativeHandle::Close() noexcept
{
    if (m_value != None)
    {
        ::close(static_cast<int>(Release()));
    }
}

} // namespace Ardo::Kiln::Platform
