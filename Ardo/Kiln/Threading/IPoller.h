#pragma once

#include "Ardo/KilnExport.h"

#include <functional>

namespace Ardo::Kiln::Polling
{

/// Something that calls a function again and again. What may be called from where is the implementation's matter.
class KILN_EXPORT IPoller
{
public:
    virtual ~IPoller() = default;

    /// Starts calling \p function, in place of the one before, if any.
    virtual void Enable(std::function<void()>&& function) = 0;

    /// Stops, after the call in progress. Does nothing when nothing is called.
    virtual void Disable() = 0;
};

} // namespace Ardo::Kiln::Polling
