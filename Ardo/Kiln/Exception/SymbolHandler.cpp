#include "Ardo/Kiln/Exception/SymbolHandler.h"

#include "Ardo/Kiln/Crash/Process/StackWalk.h"
#include "Ardo/Kiln/Crash/Report/CrashReportText.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Platform/ProcessId.h"

namespace Ardo::Kiln::Exception
{

std::wstring SymbolHandler::GetModuleName(const void* address)
{
    const auto module = Crash::ModuleOf(Platform::OwnProcessId(), reinterpret_cast<std::uint64_t>(address));
    if (!module)
    {
        return {};
    }
    return FileSystem::ToWide(std::u8string(module->file.begin(), module->file.end()));
}

std::string SymbolHandler::GetStackDetails(const CONTEXT* context, std::size_t limit)
{
    Crash::ProcessSymbols symbols(Platform::OwnProcessId());
    return StackText(symbols.Walk(Platform::OwnThreadId(), *context, limit).innermost);
}

} // namespace Ardo::Kiln::Exception
