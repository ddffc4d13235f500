#include "Ardo/Kiln/Exception/Warning.h"

namespace Ardo::Kiln::Exception
{

Warning::Warning(const std::string& message) : HandledException(message, Severity::Warning)
{
    *GetLastWarningPtr() = this;
}

Warning::Warning(const Warning& other) noexcept = default;

Warning& Warning::operator=(const Warning& other) noexcept = default;

Warning::~Warning()
{
    if (*GetLastWarningPtr() == this)
    {
        *GetLastWarningPtr() = nullptr;
    }
}

Warning* Warning::GetLast()
{
    return *GetLastWarningPtr();
}

Warning** Warning::GetLastWarningPtr()
{
    static constinit thread_local Warning* lastWarning = nullptr;
    return &lastWarning;
}

} // namespace Ardo::Kiln::Exception
