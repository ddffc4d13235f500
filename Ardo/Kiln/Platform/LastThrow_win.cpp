#include "Ardo/Kiln/Platform/LastThrow.h"

#include "Ardo/Kiln/Platform/CaughtException.h"
#include "Ardo/Kiln/Platform/FaultCode.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <iterator>
#include <new>
#include <type_traits>

namespace Ardo::Kiln::Platform
{

namespace
{

thread_local LastThrow t_last;

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
    t_last.code = record.ExceptionCode;
    t_last.address = reinterpret_cast<ULONG_PTR>(record.ExceptionAddress);
    t_last.object = nullptr;
    t_last.type[0] = '\0'; // what is thrown tells them when it is caught
    t_last.message[0] = '\0';
    t_last.frameCount = 0;
    if (record.ExceptionCode == FaultCode::CxxException && record.NumberParameters > 1)
    {
        t_last.object = reinterpret_cast<const void*>(record.ExceptionInformation[1]);
        void* frames[LastThrow::MaximumFrames];
        t_last.frameCount = CaptureStackBackTrace(0, LastThrow::MaximumFrames, frames, nullptr);
        std::transform(frames, frames + t_last.frameCount, t_last.frames,
                       [](void* frame) { return reinterpret_cast<ULONG_PTR>(frame); });
    }
}

const LastThrow& LastThrowOfThread() noexcept
{
    return t_last;
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
    DescribeCurrent(t_last);
    if (t_last.code != FaultCode::CxxException)
    {
        t_last.code = FaultCode::CxxException;
        t_last.address = 0;
        t_last.frameCount = 0;
    }
    RtlCaptureContext(&m_block->context);
    m_block->record.ExceptionCode = FaultCode::CxxException;
    m_block->record.ExceptionFlags = FaultFlag::Noncontinuable;
    const auto address = t_last.address != 0 ? static_cast<ULONG_PTR>(t_last.address) : m_block->context.Rip;
    m_block->record.ExceptionAddress = reinterpret_cast<void*>(address);
}

CaughtException::~CaughtException() = default;

EXCEPTION_POINTERS* CaughtException::Pointers() noexcept
{
    return &m_block->pointers;
}

} // namespace Ardo::Kiln::Platform
