#pragma once

#include "Ardo/KilnExport.h"

#include <functional>

namespace Ardo::Kiln::Polling
{

/// Calls a function periodically. The implementation says which thread may call which method.
class KILN_EXPORT IPoller
{
public:
    virtual ~IPoller() = default;

    /// Starts calling \p function, in place of the one before, if any.
    virtual void Enable(std::function<void()>&& function) = 0;

    /// Stops after the call in progress. Does nothing if polling is not enabled.
    virtual void Disable() = 0;
};

} // namespace Ardo::Kiln::Polling
