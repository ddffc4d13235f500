#pragma once

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/KilnExport.h"

#include <string>
#include <system_error>

namespace Ardo::Kiln::FileNaming
{

/// A name could not be reserved or settings could not be saved. The text names the folder or file and the reason.
class KILN_EXPORT FileNamingException : public Exception::Error
{
public:
    /// \param message the whole text, UTF-8.
    /// \param code of the system, if it has one.
    explicit FileNamingException(const std::string& message, std::error_code code = {});
    FileNamingException(const FileNamingException&) = default;
    FileNamingException& operator=(const FileNamingException&) = default;
    ~FileNamingException() override;

    /// The system's reason; no error if there is none.
    std::error_code Code() const noexcept { return m_code; }

private:
    std::error_code m_code;
};

} // namespace Ardo::Kiln::FileNaming
