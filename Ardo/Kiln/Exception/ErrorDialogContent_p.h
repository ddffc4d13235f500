#pragma once

#include <exception>
#include <string>

namespace Ardo::Kiln::Exception
{

class Warning;

/// What a person is told, as UTF-8 text.
struct ErrorDialogContent
{
    bool isWarning = false;
    bool offerMinidump = false; ///< Whether the person is asked about reports.
    std::string message;        ///< Without the line ends around it.
    std::string details;        ///< Lines of what else is known; may be empty.
    std::string console;        ///< All of it as the console shows it, without the last line end.

    static ErrorDialogContent Of(const Warning& warning);
    static ErrorDialogContent Of(const std::exception& exception);
    static ErrorDialogContent Of(const std::string& message, bool offerMinidump);
};

} // namespace Ardo::Kiln::Exception
