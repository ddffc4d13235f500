#pragma once

#include <stdexcept>

namespace Ardo::Kiln::Tool
{

/// Why a command did not do what it was asked for: exit status 1, the text on standard error.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A command line that cannot mean anything: exit status 2, the text on standard error.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A person has pressed Ctrl-C: exit status 130.
class Interrupted : public std::runtime_error
{
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

} // namespace Ardo::Kiln::Tool
