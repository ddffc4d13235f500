// Calls a function on the thread of a device, and receives its result or its exception.

#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include <iostream>
#include <stdexcept>
#include <utility>

namespace
{

/// A stage that must only be used on one thread.
class Stage
{
public:
    /// Moves to \p target and returns the position before, both in micrometres.
    double MoveTo(double target)
    {
        if (target > 1000.0)
        {
            throw std::out_of_range("the stage ends at 1000 µm");
        }
        return std::exchange(m_position, target);
    }

private:
    double m_position = 0.0;
};

} // namespace

int main()
{
    Stage stage; // declared before the worker, whose functions use it
    Ardo::Kiln::Threading::BackgroundWorker worker("Stage");

    for (const double target : {25.0, 2000.0, 50.0})
    {
        try
        {
            double before = 0.0;
            worker.Call([&] { before = stage.MoveTo(target); });
            std::cout << "moved from " << before << " to " << target << " µm\n";
        }
        catch (const std::out_of_range& error)
        {
            std::cout << "not moved: " << error.what() << '\n'; // the worker continues
        }
    }
}
