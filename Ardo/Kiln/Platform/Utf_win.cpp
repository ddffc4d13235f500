#include "Ardo/Kiln/Platform/Utf.h"

#include <windows.h>

namespace Ardo::Kiln::Platform
{

// Only the first call, which measures the result, checks the text. The second call converts the checked text.

std::uint32_t Utf8ToWide(std::string_view text, std::wstring& wide)
{
    const int length = static_cast<int>(text.size());
    const int wideLength = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), length, nullptr, 0);
    if (wideLength == 0)
    {
        return ::GetLastError();
    }
    wide.resize(static_cast<std::size_t>(wideLength));
    return ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), wideLength) == 0 ? ::GetLastError() : 0;
}

std::uint32_t WideToUtf8(std::wstring_view text, std::string& utf8)
{
    const int length = static_cast<int>(text.size());
    const int utf8Length =
        ::WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (utf8Length == 0)
    {
        return ::GetLastError();
    }
    utf8.resize(static_cast<std::size_t>(utf8Length));
    return ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), utf8Length, nullptr, nullptr) == 0
               ? ::GetLastError()
               : 0;
}

} // namespace Ardo::Kiln::Platform
