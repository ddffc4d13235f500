#include "Ardo/Kiln/Crash/FaultRecord.h"

#include "Ardo/Kiln/Crash/FaultCode.h"

#include <windows.h>

namespace Ardo::Kiln::Crash
{

FaultRecord ReadFaultRecord(const EXCEPTION_POINTERS* pointers) noexcept
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    const std::uint32_t code = record.ExceptionCode;
    return {code == FaultCode::GccException ? FaultCode::CxxException : code,
            reinterpret_cast<std::uintptr_t>(record.ExceptionAddress), record.ExceptionInformation[2]};
}

} // namespace Ardo::Kiln::Crash
