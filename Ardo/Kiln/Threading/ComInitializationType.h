#pragma once

#include <cstdint>

namespace Ardo::Kiln::Threading
{

/// Which COM apartment a worker's thread enters before its first function, and leaves after its last.
enum class ComInitializationType : std::int32_t
{
    NoInitialization = 0,  ///< None.
    ApartmentThreaded = 1, ///< A single-threaded apartment.
    MultiThreaded = 2,     ///< The multithreaded apartment; every value that has no name here selects it too.
};

} // namespace Ardo::Kiln::Threading
