#include "Ardo/Kiln/Crash/Fault/CaughtException.h"

#include "Ardo/Kiln/Crash/Fault/CallerContext.h"
#include "Ardo/Kiln/Crash/Fault/CaughtThrow.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/LanguageRuntime.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

#include <cxxabi.h>

#include <new>
#include <type_traits>

namespace Ardo::Kiln::Crash
{

struct CaughtException::Block
{
    EXCEPTION_RECORD record = {};
    CONTEXT context = {};
    EXCEPTION_POINTERS pointers = {&record, &context};
};

CaughtException::CaughtException() noexcept : m_block(new (m_memory) Block)
{
    static_assert(sizeof(Block) <= sizeof m_memory && alignof(Block) <= 16);
    static_assert(std::is_trivially_destructible_v<Block>);
    CaptureCallerContext(m_block->context);
    FaultThread* const thread = AdoptThread();
    const bool isKnown = thread != nullptr && RememberCaughtException(thread->uncaught);
    EXCEPTION_RECORD& record = m_block->record;
    record.ExceptionCode = FaultCode::CxxException;
    record.ExceptionFlags = FaultFlag::Noncontinuable;
    record.NumberParameters = 3;
    record.ExceptionInformation[0] = CxxExceptionMagic;
    record.ExceptionInformation[1] = reinterpret_cast<std::uintptr_t>(CaughtObject());
    record.ExceptionInformation[2] = reinterpret_cast<std::uintptr_t>(abi::__cxa_current_exception_type());
    const std::uint64_t thrown = isKnown ? thread->uncaught.address : 0;
    const std::uint64_t address = thrown != 0 ? thrown : m_block->context.Rip;
    record.ExceptionAddress = reinterpret_cast<void*>(address); // NOLINT(performance-no-int-to-ptr)
}

EXCEPTION_POINTERS* CaughtException::Pointers() noexcept
{
    return &m_block->pointers;
}

} // namespace Ardo::Kiln::Crash
