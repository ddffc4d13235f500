#include "Ardo/Kiln/Platform/SystemError.h"

#include "Ardo/Kiln/Platform/Utf.h"

#include <windows.h>

namespace Ardo::Kiln::Platform
{

std::error_code LastSystemError() noexcept
{
    return {static_cast<int>(::GetLastError()), SystemErrors()};
}

std::string SystemErrorText(int error)
{
    std::wstring text(512, L'\0');
    text.resize(::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                 static_cast<DWORD>(error), 0, text.data(), static_cast<DWORD>(text.size()), nullptr));
    text.resize(text.find_last_not_of(L"\r\n. ") + 1);
    std::string utf8;
    return !text.empty() && WideToUtf8(text, utf8) == 0 ? utf8 : "error " + std::to_string(error);
}

} // namespace Ardo::Kiln::Platform
