#include "Ardo/Kiln/Exception/ErrorWithCode.h"

#include "Ardo/Kiln/Exception/ErrorInfo.h"

#include <boost/exception/get_error_info.hpp>

namespace Ardo::Kiln::Exception
{

ErrorWithCode::ErrorWithCode(int code, const std::string& message) : Error(message)
{
    *this << ErrorCodeInfo(code);
}

ErrorWithCode::ErrorWithCode(const ErrorWithCode& other) noexcept = default;
ErrorWithCode::ErrorWithCode(ErrorWithCode&& other) noexcept = default;
ErrorWithCode& ErrorWithCode::operator=(const ErrorWithCode& other) noexcept = default;
ErrorWithCode& ErrorWithCode::operator=(ErrorWithCode&& other) noexcept = default;
ErrorWithCode::~ErrorWithCode() = default;

int ErrorWithCode::GetErrorCode() const
{
    const int* const code = boost::get_error_info<ErrorCodeInfo>(*this);
    return code != nullptr ? *code : 0;
}

} // namespace Ardo::Kiln::Exception
