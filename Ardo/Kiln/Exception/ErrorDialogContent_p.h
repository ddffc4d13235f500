#pragma once

#include <exception>
#include <string>

namespace Ardo::Kiln::Exception
{

class Warning;

/// The texts of a warning or an error, in UTF-8.
struct ErrorDialogContent
{
    bool isWarning = false;
    bool offerMinidump = false; ///< Whether the user is asked about reports.
    std::string message;        ///< Without the line ends around it.
    std::string details;        ///< Lines with further facts; may be empty.
    std::string console;        ///< The whole text for the console, without the last line end.

    static ErrorDialogContent Of(const Warning& warning);
    static ErrorDialogContent Of(const std::exception& exception);
    static ErrorDialogContent Of(const std::string& message, bool offerMinidump);
};

} // namespace Ardo::Kiln::Exception
