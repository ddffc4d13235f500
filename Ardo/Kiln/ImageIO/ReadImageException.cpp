#include "Ardo/Kiln/ImageIO/ReadImageException.h"

namespace Ardo::Kiln::ImageIO
{

ReadImageException::ReadImageException(Cause cause, const std::string& reason, std::error_code code)
    : std::runtime_error(reason), m_cause(cause), m_code(code), m_reason(std::make_shared<std::string>(reason))
{
}

ReadImageException::ReadImageException(const std::string& text, const ReadImageException& failure)
    : std::runtime_error(text), m_cause(failure.m_cause), m_code(failure.m_code), m_reason(failure.m_reason)
{
}

} // namespace Ardo::Kiln::ImageIO
