#include "Ardo/Kiln/Crash/FaultRecord.h"

namespace Ardo::Kiln::Crash
{

FaultRecord ReadFaultRecord(const EXCEPTION_POINTERS* pointers) noexcept
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    return {static_cast<std::uint32_t>(record.ExceptionCode), reinterpret_cast<std::uintptr_t>(record.ExceptionAddress),
            record.ExceptionInformation[2]};
}

} // namespace Ardo::Kiln::Crash
