#include "Ardo/Kiln/Exception/Error.h"

namespace Ardo::Kiln::Exception
{

Error::Error(const std::string& message) : HandledException(message, Severity::Fatal)
{
    *GetLastErrorPtr() = this;
}

Error::Error(const Error& other) noexcept = default;

Error& Error::operator=(const Error& other) noexcept = default;

Error::~Error()
{
    if (*GetLastErrorPtr() == this)
    {
        *GetLastErrorPtr() = nullptr;
    }
}

Error* Error::GetLast()
{
    return *GetLastErrorPtr();
}

Error** Error::GetLastErrorPtr()
{
    static constinit thread_local Error* lastError = nullptr;
    return &lastError;
}

} // namespace Ardo::Kiln::Exception
