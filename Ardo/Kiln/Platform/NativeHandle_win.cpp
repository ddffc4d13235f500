#include "Ardo/Kiln/Platform/NativeHandle.h"

#include <windows.h>

namespace Ardo::Kiln::Platform
{

void NativeHandle::Close() noexcept
{
    if (m_value != None)
    {
        ::CloseHandle(reinterpret_cast<HANDLE>(Release()));
    }
}

} // namespace Ardo::Kiln::Platform
