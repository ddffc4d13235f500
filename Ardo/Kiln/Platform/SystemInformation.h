#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <string>

namespace Ardo::Kiln::Platform
{

/// What a crash report tells about the machine. Sizes in bytes; empty texts and zeros where the system does not tell.
struct SystemInformation
{
    std::string processor;               ///< The maker's name of it.
    std::uint32_t processors = 0;        ///< Logical processors that the system runs on.
    std::uint64_t physicalMemory = 0;    ///< Of the machine.
    std::uint64_t availableMemory = 0;   ///< What programs can still get without swapping.
    std::uint64_t swapMemory = 0;        ///< Of the machine. On Windows its commit limit less the physical memory.
    std::uint64_t freeSwapMemory = 0;    ///< The part of it that is not in use.
    std::uint64_t processMemory = 0;     ///< Physical memory of the process.
    std::uint64_t peakProcessMemory = 0; ///< The most that it ever had.
    std::uint64_t processAddresses = 0;  ///< Address space of the process. On Windows what it has committed.
    std::string systemName;              ///< The product name of Windows, or the name of the distribution.
    std::string systemVersion;           ///< Its version, and on Linux that of the kernel.
};

/// Asks the system about the machine and the process \p processId. Makes system calls and takes no lock but the
/// allocator's. Any thread may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS SystemInformation ReadSystemInformation(std::uint32_t processId);

} // namespace Ardo::Kiln::Platform
