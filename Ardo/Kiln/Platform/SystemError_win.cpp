#include "Ardo/Kiln/Platform/SystemError.h"

#include "Ardo/Kiln/Platform/Utf.h"

#include <string>

#include <windows.h>

namespace Ardo::Kiln::Platform
{

namespace
{

class SystemErrorCategory : public std::error_category
{
public:
    const char* name() const noexcept override { return "system"; } // NOLINT(readability-identifier-naming)

    // The standard category's text is in the ANSI code page.
    std::string message(int error) const override // NOLINT(readability-identifier-naming)
    {
        std::wstring text(512, L'\0');
        text.resize(::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                     static_cast<DWORD>(error), 0, text.data(), static_cast<DWORD>(text.size()),
                                     nullptr));
        text.resize(text.find_last_not_of(L"\r\n. ") + 1);
        std::string utf8;
        return !text.empty() && WideToUtf8(text, utf8) == 0 ? utf8 : "error " + std::to_string(error);
    }

    std::error_condition
    default_error_condition(int error) const noexcept override // NOLINT(readability-identifier-naming)
    {
        return std::system_category().default_error_condition(error);
    }
};

} // namespace

const std::error_category& SystemErrors() noexcept
{
    // Never destroyed: static objects may report errors at their end.
    static const SystemErrorCategory& g_category = *new SystemErrorCategory();
    return g_category;
}

std::error_code LastSystemError() noexcept
{
    return {static_cast<int>(::GetLastError()), SystemErrors()};
}

} // namespace Ardo::Kiln::Platform
