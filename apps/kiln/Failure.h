#pragma once

#include <stdexcept>

namespace Ardo::Kiln::Tool
{

/// The failure of a command: exit status 1, the text on standard error.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// An invalid command line: exit status 2, the text on standard error.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Ctrl-C was pressed: exit status 130.
class Interrupted : public std::runtime_error
{
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

} // namespace Ardo::Kiln::Tool
