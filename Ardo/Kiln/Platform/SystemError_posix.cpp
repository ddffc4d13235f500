#include "Ardo/Kiln/Platform/SystemError.h"

#include <cerrno>
#include <cstring>

namespace Ardo::Kiln::Platform
{

std::error_code LastSystemError() noexcept
{
    return {errno, SystemErrors()};
}

std::string SystemErrorText(int error)
{
    const char* const text = ::strerrordesc_np(error);
    return text != nullptr ? text : "error " + std::to_string(error);
}

} // namespace Ardo::Kiln::Platform
