#include "Ardo/Kiln/Crash/Fault/CallerContext.h"

#include "Ardo/Kiln/Crash/FaultCode.h"

#include <unwind.h>

namespace Ardo::Kiln::Crash
{

namespace
{

struct Capture
{
    CONTEXT& context;
    int skip;
};

_Unwind_Reason_Code CaptureFrame(_Unwind_Context* frame, void* argument)
{
    auto& capture = *static_cast<Capture*>(argument);
    if (capture.skip-- > 0)
    {
        return _URC_NO_REASON;
    }
    // Register numbers of the System V ABI's DWARF mapping. Only what a called function preserves is known.
    CONTEXT& context = capture.context;
    context.Rip = _Unwind_GetIP(frame);
    context.Rsp = _Unwind_GetCFA(frame);
    context.Rbx = _Unwind_GetGR(frame, 3);
    context.Rbp = _Unwind_GetGR(frame, 6);
    context.R12 = _Unwind_GetGR(frame, 12);
    context.R13 = _Unwind_GetGR(frame, 13);
    context.R14 = _Unwind_GetGR(frame, 14);
    context.R15 = _Unwind_GetGR(frame, 15);
    return _URC_END_OF_STACK;
}

} // namespace

// Not inlined: the frames between are counted.
[[gnu::noinline]] void CaptureCallerContext(CONTEXT& context) noexcept
{
    context = {};
    context.ContextFlags = ContextFlag::Full;
    context.SegCs = 0x33; // what the kernel gives every 64-bit program
    context.SegSs = 0x2B;
    Capture capture{context, 2};
    _Unwind_Backtrace(CaptureFrame, &capture);
}

} // namespace Ardo::Kiln::Crash
