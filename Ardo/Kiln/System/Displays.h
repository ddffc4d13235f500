#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Ardo::Kiln::System
{

/// A display that is connected to the machine.
struct Display
{
    std::string name;            ///< The model, or the connector if the display does not tell it. UTF-8.
    std::int32_t width = 0;      ///< In pixels. On Linux that of the best mode, on Windows of the current one.
    std::int32_t height = 0;     ///< In pixels, like the width.
    double physicalWidth = 0.0;  ///< In m; 0 if the display does not tell it.
    double physicalHeight = 0.0; ///< In m; 0 if the display does not tell it.
};

/// The displays of the machine; empty if there are none or the system does not tell. Needs no window system and no
/// application object. Any thread may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT std::vector<Display> ReadDisplays();

} // namespace Ardo::Kiln::System
