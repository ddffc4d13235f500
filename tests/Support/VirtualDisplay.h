#pragma once

#include <string>

namespace Ardo::Kiln::Support
{

/// A screen in memory with a keyboard of its own, and DISPLAY set to it. Needs Xvfb and xdotool.
///
/// It ends with its object, or, if the test does not come that far, with its last client.
class VirtualDisplay
{
public:
    /// Starts it and waits until it takes connections; a failed expectation if it does not.
    VirtualDisplay();
    ~VirtualDisplay();
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

    /// Waits for a visible window of that title, gives it the keyboard and presses the keys, named as xdotool names
    /// them and separated by blanks. From a thread that the window does not need. \returns whether all went well.
    static bool Press(const std::string& title, const std::string& keys);

private:
    int m_process = 0;
};

} // namespace Ardo::Kiln::Support
