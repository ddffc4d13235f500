#include "Ardo/Kiln/Platform/StandardError.h"

#include <algorithm>
#include <windows.h>

namespace Ardo::Kiln::Platform
{

bool HasStandardError() noexcept
{
    const HANDLE stream = ::GetStdHandle(STD_ERROR_HANDLE);
    return stream != nullptr && stream != INVALID_HANDLE_VALUE;
}

void WriteStandardError(std::string_view text) noexcept
{
    const HANDLE stream = ::GetStdHandle(STD_ERROR_HANDLE);
    while (!text.empty() && HasStandardError())
    {
        constexpr std::size_t MaxWrite = 1U << 20U;
        DWORD count = 0;
        if (!::WriteFile(stream, text.data(), static_cast<DWORD>(std::min(text.size(), MaxWrite)), &count, nullptr) ||
            count == 0)
        {
            return;
        }
        text.remove_prefix(count);
    }
}

} // namespace Ardo::Kiln::Platform
