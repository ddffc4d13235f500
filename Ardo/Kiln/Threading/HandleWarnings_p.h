#pragma once

#include "Ardo/Kiln/Exception/Warning.h"

#include <functional>

namespace Ardo::Kiln::Threading
{

/// Calls \p function. A Warning that it throws goes to \p handler, every other exception to the caller.
inline void CallHandlingWarnings(const std::function<void()>& function,
                                 const std::function<void(const Exception::Warning&)>& handler)
{
    try
    {
        function();
    }
    catch (const Exception::Warning& warning)
    {
        handler(warning);
    }
}

} // namespace Ardo::Kiln::Threading
