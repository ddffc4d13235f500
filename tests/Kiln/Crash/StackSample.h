#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace Ardo::Kiln::Crash::Sample
{

/// Registers of the place in Place() where it calls back, and the numbers of the lines of its callers.
struct Point
{
    CONTEXT context = {};
    std::uint32_t inlinedLine = 0; ///< In Place(), which the compiler inlined into Middle().
    std::uint32_t middleLine = 0;  ///< In Middle(), where Place() is inlined.
    std::uint32_t outerLine = 0;   ///< In Outer(), where Middle() is called.
};

/// Outer calls Middle, Middle calls Place, and Place describes itself in \p point and then calls \p look.
int Outer(Point& point, const std::function<void()>& look);

/// The words on the stack of this process from \p stackPointer on; no sanitizer looks.
void CopyStack(std::uint64_t stackPointer, std::uint64_t* words, std::size_t count);

} // namespace Ardo::Kiln::Crash::Sample
