#include "Ardo/Kiln/Exception/HandledException.h"

#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/ErrorInfoContainer.h"

#include <boost/exception/get_error_info.hpp>

#include <sstream>

namespace Ardo::Kiln::Exception
{

HandledException::HandledException(const std::string& message, Severity severity)
    : m_message(message) // NOLINT(bugprone-throw-keyword-missing): it only holds the text
{
    GiveErrorInfoContainer(*this);
    *this << SeverityInfo(severity);
}

HandledException::HandledException(const std::ostringstream& message, Severity severity)
    : HandledException(message.str(), severity)
{
}

HandledException::HandledException(const HandledException& other) noexcept = default;

HandledException& HandledException::operator=(const HandledException& other) noexcept
{
    // Boost releases the old entries before it takes the new ones: assigned to itself, it would keep freed ones.
    if (this != &other)
    {
        std::exception::operator=(other);
        boost::exception::operator=(other);
        m_message = other.m_message;
    }
    return *this;
}

HandledException::~HandledException() = default;

const char* HandledException::what() const noexcept
{
    return m_message.what();
}

std::string HandledException::GetCategory() const
{
    const std::string* const category = boost::get_error_info<CategoryInfo>(*this);
    return category != nullptr ? *category : std::string();
}

std::string HandledException::GetOrigin() const
{
    const char* const* const file = boost::get_error_info<boost::throw_file>(*this);
    const int* const line = boost::get_error_info<boost::throw_line>(*this);
    const char* const* const function = boost::get_error_info<boost::throw_function>(*this);
    if (file == nullptr || function == nullptr)
    {
        return {};
    }
    return std::string(*file) + " (" + std::to_string(line != nullptr ? *line : -1) + ") : " + *function;
}

Severity HandledException::GetSeverity() const
{
    return *boost::get_error_info<SeverityInfo>(*this); // every constructor attaches it, nothing can take it away
}

} // namespace Ardo::Kiln::Exception
