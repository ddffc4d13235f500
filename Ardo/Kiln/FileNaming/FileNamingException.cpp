#include "Ardo/Kiln/FileNaming/FileNamingException.h"

namespace Ardo::Kiln::FileNaming
{

FileNamingException::FileNamingException(const std::string& message, std::error_code code)
    : Error(message), m_code(code)
{
}

FileNamingException::~FileNamingException() = default;

} // namespace Ardo::Kiln::FileNaming
