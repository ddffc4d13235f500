#include "Ardo/Kiln/Platform/NativeHandle.h"

#include <windows.h>

namespace Ardo::Kiln::Platform
{

void NativeHandleTraits::Close(Value value) noexcept
{
    ::CloseHandle(reinterpret_cast<HANDLE>(value));
}

} // namespace Ardo::Kiln::Platform
