#pragma once

#include <exception>
#include <string>

namespace Ardo::Kiln::Support
{

/// The text of what \p function throws as \p Exception; empty if it throws nothing. Anything else fails the test.
template <typename Exception = std::exception, typename Function>
std::string MessageOf(const Function& function)
{
    try
    {
        function();
    }
    catch (const Exception& exception)
    {
        return exception.what();
    }
    return {};
}

} // namespace Ardo::Kiln::Support
