#include "Ardo/Kiln/Platform/SystemError.h"

#include <cerrno>
#include <cstring>
#include <string>

namespace Ardo::Kiln::Platform
{

namespace
{

class SystemErrorCategory : public std::error_category
{
public:
    const char* name() const noexcept override { return "system"; } // NOLINT(readability-identifier-naming)

    // The C library's other functions translate the text into the locale and its encoding.
    std::string message(int error) const override // NOLINT(readability-identifier-naming)
    {
        const char* const text = ::strerrordesc_np(error);
        return text != nullptr ? text : "error " + std::to_string(error);
    }

    std::error_condition
    default_error_condition(int error) const noexcept override // NOLINT(readability-identifier-naming)
    {
        return std::generic_category().default_error_condition(error);
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
    return {errno, SystemErrors()};
}

} // namespace Ardo::Kiln::Platform
