#include "Ardo/Kiln/Crash/Fault/LastThrow_linux.h"

#include "Ardo/Kiln/Crash/Fault/CallerContext_linux.h"
#include "Ardo/Kiln/Crash/Fault/CaughtException.h"
#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/LastThrow.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

#include <cxxabi.h>
#include <unwind.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <type_traits>
#include <typeinfo>

namespace Ardo::Kiln::Crash
{

namespace
{

template <std::size_t Size>
void CopyText(char (&target)[Size], const char* text) noexcept
{
    std::size_t length = std::min(std::strlen(text), Size - 1);
    while (length > 0 && text[length] != '\0' && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80)
    {
        --length; // not inside a character
    }
    std::memcpy(target, text, length);
    target[length] = '\0';
}

/// The message of an exception of the given type, if it is a std::exception.
void CopyMessage(LastThrow& last, void* object, const std::type_info& type) noexcept
{
    last.message[0] = '\0';
    // What the runtime itself asks when it looks for a catch block of std::exception.
    if (object != nullptr && typeid(std::exception).__do_catch(&type, &object, 1))
    {
        const char* const text = static_cast<const std::exception*>(object)->what();
        CopyText(last.message, text != nullptr ? text : "");
    }
}

struct Walk
{
    LastThrow& last;
    bool found = false;
};

_Unwind_Reason_Code Collect(_Unwind_Context* frame, void* argument)
{
    auto& walk = *static_cast<Walk*>(argument);
    const std::uint64_t address = _Unwind_GetIP(frame);
    walk.found = walk.found || address == walk.last.address; // above it stand this code and its callers
    if (walk.found && address != 0)
    {
        walk.last.frames[walk.last.frameCount++] = address;
    }
    return walk.last.frameCount < LastThrow::MaximumFrames && address != 0 ? _URC_NO_REASON : _URC_END_OF_STACK;
}

/// The object that the calling thread's innermost catch block is dealing with; null when there is none.
void* CurrentObject() noexcept
{
    const std::exception_ptr current = std::current_exception();
    void* object = nullptr;
    static_assert(sizeof current == sizeof object); // it is that pointer
    std::memcpy(&object, static_cast<const void*>(&current), sizeof object);
    return object;
}

LastThrow g_nothing;

} // namespace

void RememberThrow(const EXCEPTION_POINTERS* pointers) noexcept
{
    FaultThread* const thread = FaultThreadOnBehalf();
    if (thread == nullptr)
    {
        return;
    }
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    LastThrow& last = thread->lastThrow;
    const bool isCxx = record.ExceptionCode == FaultCode::CxxException && record.NumberParameters >= 3;
    if (isCxx && thread != OwnFaultThread())
    {
        return; // nobody caught it: it was remembered when it was thrown
    }
    last.code = record.ExceptionCode;
    last.address = reinterpret_cast<std::uintptr_t>(record.ExceptionAddress);
    last.object = nullptr;
    last.type[0] = '\0';
    last.message[0] = '\0';
    last.frameCount = 0;
    if (!isCxx)
    {
        return;
    }
    // NOLINTBEGIN(performance-no-int-to-ptr): the record's words
    auto* const object = reinterpret_cast<void*>(record.ExceptionInformation[1]);
    const auto* const type = reinterpret_cast<const std::type_info*>(record.ExceptionInformation[2]);
    // NOLINTEND(performance-no-int-to-ptr)
    last.object = object;
    if (type != nullptr)
    {
        CopyText(last.type, type->name());
        CopyMessage(last, object, *type);
    }
    Walk walk{last};
    _Unwind_Backtrace(Collect, &walk);
}

const LastThrow& LastThrowOfThread() noexcept
{
    const FaultThread* const thread = FaultThreadOnBehalf();
    return thread != nullptr ? thread->lastThrow : g_nothing;
}

bool RememberCurrentException(FaultThread& thread) noexcept
{
    void* const object = CurrentObject();
    const std::type_info* const type = abi::__cxa_current_exception_type();
    if (object == nullptr || type == nullptr)
    {
        return false;
    }
    LastThrow& last = thread.lastThrow;
    if (last.code != FaultCode::CxxException || last.object != object)
    {
        last.code = FaultCode::CxxException;
        last.address = 0;
        last.object = object;
        last.frameCount = 0;
        CopyText(last.type, type->name());
        CopyMessage(last, object, *type);
    }
    return true;
}

CaughtExceptions::CaughtExceptions() noexcept
{
    // Its first two members are part of the C++ ABI ("C++ ABI for Itanium: Exception Handling", 2.2.2).
    const void* const globals = abi::__cxa_get_globals();
    std::memcpy(&m_caught, globals, sizeof m_caught);
    std::memcpy(&m_uncaught, static_cast<const char*>(globals) + sizeof m_caught, sizeof m_uncaught);
}

void CaughtExceptions::Restore() noexcept
{
    void* const globals = abi::__cxa_get_globals();
    std::memcpy(globals, &m_caught, sizeof m_caught);
    std::memcpy(static_cast<char*>(globals) + sizeof m_caught, &m_uncaught, sizeof m_uncaught);
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
    AdoptThread();
    FaultThread* const thread = OwnFaultThread();
    const bool known = thread != nullptr && RememberCurrentException(*thread);
    EXCEPTION_RECORD& record = m_block->record;
    CaptureCallerContext(m_block->context);
    record.ExceptionCode = FaultCode::CxxException;
    record.ExceptionFlags = FaultFlag::Noncontinuable;
    record.NumberParameters = 3;
    record.ExceptionInformation[0] = CxxExceptionMagic;
    record.ExceptionInformation[1] = reinterpret_cast<std::uintptr_t>(CurrentObject());
    record.ExceptionInformation[2] = reinterpret_cast<std::uintptr_t>(abi::__cxa_current_exception_type());
    const std::uint64_t address =
        known && thread->lastThrow.address != 0 ? thread->lastThrow.address : m_block->context.Rip;
    record.ExceptionAddress = reinterpret_cast<void*>(address); // NOLINT(performance-no-int-to-ptr)
}

EXCEPTION_POINTERS* CaughtException::Pointers() noexcept
{
    return &m_block->pointers;
}

} // namespace Ardo::Kiln::Crash
