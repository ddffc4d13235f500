#include "Ardo/Kiln/Exception/SymbolHandler.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Exception/CrashReportText_p.h"
#include "Ardo/Kiln/Platform/ProcessId.h"
#include "Ardo/Kiln/Platform/StackWalk.h"

#include <stdexcept>

namespace Ardo::Kiln::Exception
{

std::wstring SymbolHandler::GetModuleName(const void* address)
{
    const auto module = Platform::ModuleOf(Platform::OwnProcessId(), reinterpret_cast<std::uint64_t>(address));
    try
    {
        return module ? Conversion::String::FromUtf8(module->file) : std::wstring();
    }
    catch (const std::range_error&)
    {
        return {module->file.begin(), module->file.end()}; // a name of bytes, which no text is
    }
}

std::string SymbolHandler::GetStackDetails(const CONTEXT* context, std::size_t limit)
{
    Platform::ProcessSymbols symbols(Platform::OwnProcessId());
    return StackText(symbols.Walk(Platform::OwnThreadId(), *context, limit));
}

} // namespace Ardo::Kiln::Exception
