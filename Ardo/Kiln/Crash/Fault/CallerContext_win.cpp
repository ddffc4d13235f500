#include "Ardo/Kiln/Crash/Fault/CallerContext_win.h"

#include "Ardo/Kiln/Crash/Fault/CallerContext.h"

#include <cstdint>
#include <cstring>

namespace Ardo::Kiln::Crash
{

bool StepToCaller(CONTEXT& context) noexcept
{
    DWORD64 base = 0;
    const auto function = ::RtlLookupFunctionEntry(context.Rip, &base, nullptr);
    if (function != nullptr)
    {
        void* data = nullptr;
        DWORD64 frame = 0;
        ::RtlVirtualUnwind(UNW_FLAG_NHANDLER, base, context.Rip, function, &context, &data, &frame, nullptr);
    }
    else
    {
        // A function that calls no other keeps nothing on the stack but the return address.
        context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp); // NOLINT(performance-no-int-to-ptr)
        context.Rsp += sizeof context.Rip;
    }
    return context.Rip != 0;
}

DWORD64 FunctionOf(const CONTEXT& context) noexcept
{
    DWORD64 base = 0;
    const auto* const function = ::RtlLookupFunctionEntry(context.Rip, &base, nullptr);
    return function != nullptr ? base + function->BeginAddress : 0;
}

DWORD64 FunctionBehindJump(const void* function) noexcept
{
    constexpr unsigned char JumpByAddress[] = {0xFF, 0x25};
    const auto* const code = static_cast<const unsigned char*>(function);
    if (std::memcmp(code, JumpByAddress, sizeof JumpByAddress) != 0)
    {
        return reinterpret_cast<DWORD64>(code);
    }
    std::int32_t distance = 0;
    std::memcpy(&distance, code + sizeof JumpByAddress, sizeof distance);
    DWORD64 target = 0;
    std::memcpy(&target, code + sizeof JumpByAddress + sizeof distance + distance, sizeof target);
    return target;
}

void CaptureCallerContext(CONTEXT& context) noexcept
{
    ::RtlCaptureContext(&context);
    StepToCaller(context) && StepToCaller(context);
}

} // namespace Ardo::Kiln::Crash
