#pragma once

namespace Ardo::Kiln::Logger
{

/// How much a log record matters, from the least to the most. The numbers are part of the record's meaning.
enum SeverityLevel : int
{
    trace = 0,   ///< Steps of a program, for its developer.
    debug = 1,   ///< Values that explain what a component does.
    info = 2,    ///< What a person running the application may want to know.
    warning = 3, ///< Something is not as it should be; the work went on.
    error = 4,   ///< Something that was asked for did not happen.
    fatal = 5    ///< The application cannot go on.
};

} // namespace Ardo::Kiln::Logger
