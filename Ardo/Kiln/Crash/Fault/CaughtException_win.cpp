#include "Ardo/Kiln/Crash/Fault/CaughtException.h"

#include "Ardo/Kiln/Crash/Fault/LastThrow_win.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

#include <windows.h>

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
    RtlCaptureContext(&m_block->context);
    const std::uint64_t thrown = RememberCaughtException();
    m_block->record.ExceptionCode = FaultCode::CxxException;
    m_block->record.ExceptionFlags = FaultFlag::Noncontinuable;
    const auto address = thrown != 0 ? static_cast<ULONG_PTR>(thrown) : m_block->context.Rip;
    m_block->record.ExceptionAddress = reinterpret_cast<void*>(address);
}

EXCEPTION_POINTERS* CaughtException::Pointers() noexcept
{
    return &m_block->pointers;
}

} // namespace Ardo::Kiln::Crash
