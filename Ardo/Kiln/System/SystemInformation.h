#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <string>

namespace Ardo::Kiln::System
{

/// Facts about the machine and one process; crash reports print them. Sizes are in bytes. Empty texts and zeros are
/// facts that the system does not provide. Texts are UTF-8.
struct SystemInformation
{
    std::string processor;               ///< Name of the processor model.
    std::uint32_t processors = 0;        ///< Number of logical processors in use.
    std::uint64_t physicalMemory = 0;    ///< Of the machine.
    std::uint64_t availableMemory = 0;   ///< Memory that can be allocated without swapping.
    std::uint64_t swapMemory = 0;        ///< Of the machine. On Windows the commit limit less the physical memory.
    std::uint64_t freeSwapMemory = 0;    ///< Unused part of swapMemory.
    std::uint64_t processMemory = 0;     ///< Physical memory of the process.
    std::uint64_t peakProcessMemory = 0; ///< Maximum of processMemory since the start of the process.
    std::uint64_t processAddresses = 0;  ///< Address space of the process. On Windows its committed memory.
    std::string systemName;              ///< The product name of Windows, or the name of the distribution.
    std::string systemVersion;           ///< Its version, and on Linux that of the kernel.
};

/// Reads the facts about the machine and the process \p processId. Takes no lock but that of the allocator. Any thread
/// may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT SystemInformation ReadSystemInformation(std::uint32_t processId);

/// The same for the calling process.
/// \throws std::bad_alloc only.
KILN_EXPORT SystemInformation ReadSystemInformation();

} // namespace Ardo::Kiln::System
