#include "Ardo/Kiln/Exception/SymbolHandler.h"

#include "Ardo/Kiln/Exception/CrashReportText_p.h"
#include "Ardo/Kiln/Exception/WideText_p.h"
#include "Ardo/Kiln/Platform/ProcessId.h"
#include "Ardo/Kiln/Platform/StackWalk.h"

namespace Ardo::Kiln::Exception
{

std::wstring SymbolHandler::GetModuleName(const void* address)
{
    const auto module = Platform::ModuleOf(Platform::OwnProcessId(), reinterpret_cast<std::uint64_t>(address));
    return module ? ToWide(module->file) : std::wstring();
}

std::string SymbolHandler::GetStackDetails(const CONTEXT* context, std::size_t limit)
{
    Platform::ProcessSymbols symbols(Platform::OwnProcessId());
    return StackText(symbols.Walk(Platform::OwnThreadId(), *context, limit).innermost);
}

} // namespace Ardo::Kiln::Exception
