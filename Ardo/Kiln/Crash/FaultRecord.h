#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// The fields of an EXCEPTION_RECORD by which filters decide. They can be read without <windows.h>.
struct FaultRecord
{
    std::uint32_t code = 0;                 ///< See FaultCode. CxxException for all C++ exceptions.
    std::uint64_t address = 0;              ///< The instruction at fault.
    std::uint64_t thirdInformationWord = 0; ///< 0 for the faults of a processor.
};

/// The record of \p pointers, not null. No system call, no allocation.
KILN_EXPORT_FOR_TESTS FaultRecord ReadFaultRecord(const EXCEPTION_POINTERS* pointers) noexcept;

} // namespace Ardo::Kiln::Crash
