#pragma once

#include "Ardo/Kiln/Exception/Severity.h"
#include "Ardo/KilnExport.h"

#include <boost/exception/exception.hpp>

#include <exception>
#include <iosfwd>
#include <stdexcept>
#include <string>

namespace Ardo::Kiln::Exception
{

/// The base of all exceptions that this library throws for failures of its own: a message, a severity, and on request a
/// category and the place of the throw.
///
/// A copy has its own message and shares the attached entries (ErrorInfo.h). Copies may live on different threads; one
/// object, and the attaching of entries to any of its copies, belongs to one thread at a time.
class KILN_EXPORT HandledException : public std::exception, public boost::exception
{
public:
    HandledException(const HandledException& other) noexcept;
    HandledException& operator=(const HandledException& other) noexcept;
    ~HandledException() override;

    /// The text given at construction, nothing added. Valid until the object is destroyed or assigned to.
    const char* what() const noexcept override;

    /// The category that the thrower attached, or an empty text.
    std::string GetCategory() const;

    /// Where the exception was thrown: "Shutter.cpp (123) : void Open()". Empty unless the place is recorded, as
    /// BOOST_THROW_EXCEPTION does.
    std::string GetOrigin() const;

    /// The severity given at construction.
    Severity GetSeverity() const;

protected:
    /// \throws std::bad_alloc only.
    HandledException(const std::string& message, Severity severity);

    /// Takes the text that the stream has accumulated.
    /// \throws std::bad_alloc only.
    HandledException(const std::ostringstream& message, Severity severity);

private:
    // runtime_error stores the text and copies without throwing. A member, not a base, so that `catch
    // (std::runtime_error&)` does not catch this class.
    std::runtime_error m_message;
};

} // namespace Ardo::Kiln::Exception
