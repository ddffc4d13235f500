#pragma once

#include <functional>

namespace Ardo::Kiln::Viewer
{

/// Told the part that is done, 0 to 1; ends the work by returning false.
using Progress = std::function<bool(double part)>;

/// The work was ended by its Progress.
struct Cancelled
{
};

/// Tells \p progress the part that is done.
/// \throws Cancelled if it ends the work.
inline void Tell(const Progress& progress, double part)
{
    if (!progress(part))
    {
        throw Cancelled();
    }
}

} // namespace Ardo::Kiln::Viewer
