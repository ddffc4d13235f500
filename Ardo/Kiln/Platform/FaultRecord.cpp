#include "Ardo/Kiln/Platform/FaultRecord.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace Ardo::Kiln::Platform
{

FaultRecord ReadFaultRecord(const EXCEPTION_POINTERS* pointers) noexcept
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    return {static_cast<std::uint32_t>(record.ExceptionCode), reinterpret_cast<std::uintptr_t>(record.ExceptionAddress),
            record.ExceptionInformation[2]};
}

} // namespace Ardo::Kiln::Platform
