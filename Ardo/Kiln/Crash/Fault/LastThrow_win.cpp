#include "Ardo/Kiln/Crash/Fault/LastThrow.h"

#include "Ardo/Kiln/Crash/Fault/CaughtException.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <iterator>
#include <new>
#include <type_traits>

namespace Ardo::Kiln::Crash
{

namespace
{

thread_local LastThrow g_last;

/// Type and message of the exception that a catch block is dealing with.
void DescribeCurrent(LastThrow& last)
{
    try
    {
        throw;
    }
    catch (const std::exception& exception)
    {
        const char* const type = typeid(exception).name();
        const char* const text = exception.what();
        const std::size_t typeLength = std::min(std::strlen(type), sizeof last.type - 1);
        const std::size_t length = std::min(std::strlen(text), sizeof last.message - 1);
        *std::copy_n(type, typeLength, last.type) = '\0';
        *std::copy_n(text, length, last.message) = '\0';
    }
    catch (...)
    {
        last.type[0] = '\0';
        last.message[0] = '\0';
    }
}

} // namespace

void RememberThrow(const EXCEPTION_POINTERS* pointers) noexcept
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    g_last.code = record.ExceptionCode;
    g_last.address = reinterpret_cast<ULONG_PTR>(record.ExceptionAddress);
    g_last.object = nullptr;
    g_last.type[0] = '\0'; // what is thrown tells them when it is caught
    g_last.message[0] = '\0';
    g_last.frameCount = 0;
    if (record.ExceptionCode == FaultCode::CxxException && record.NumberParameters > 1)
    {
        g_last.object = reinterpret_cast<const void*>(record.ExceptionInformation[1]);
        void* frames[LastThrow::MaximumFrames];
        g_last.frameCount = CaptureStackBackTrace(0, LastThrow::MaximumFrames, frames, nullptr);
        std::transform(frames, frames + g_last.frameCount, g_last.frames,
                       [](void* frame) { return reinterpret_cast<ULONG_PTR>(frame); });
    }
}

const LastThrow& LastThrowOfThread() noexcept
{
    return g_last;
}

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
    DescribeCurrent(g_last);
    if (g_last.code != FaultCode::CxxException)
    {
        g_last.code = FaultCode::CxxException;
        g_last.address = 0;
        g_last.frameCount = 0;
    }
    RtlCaptureContext(&m_block->context);
    m_block->record.ExceptionCode = FaultCode::CxxException;
    m_block->record.ExceptionFlags = FaultFlag::Noncontinuable;
    const auto address = g_last.address != 0 ? static_cast<ULONG_PTR>(g_last.address) : m_block->context.Rip;
    m_block->record.ExceptionAddress = reinterpret_cast<void*>(address);
}

EXCEPTION_POINTERS* CaughtException::Pointers() noexcept
{
    return &m_block->pointers;
}

} // namespace Ardo::Kiln::Crash
