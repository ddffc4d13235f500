#pragma once

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Exception
{

/// An error with a number: that of the system, of an instrument, or of a library below.
class KILN_EXPORT ErrorWithCode : public Error
{
public:
    /// Becomes the calling thread's last error.
    /// \throws std::bad_alloc only.
    ErrorWithCode(int code, const std::string& message);
    ErrorWithCode(const ErrorWithCode& other) noexcept;
    ErrorWithCode(ErrorWithCode&& other) noexcept; ///< A copy: what is moved from stays a whole exception.
    ErrorWithCode& operator=(const ErrorWithCode& other) noexcept;
    ErrorWithCode& operator=(ErrorWithCode&& other) noexcept; ///< A copy, as above.
    ~ErrorWithCode() override;

    /// The number given at construction; 0 if the exception carries none.
    int GetErrorCode() const;
};

} // namespace Ardo::Kiln::Exception
