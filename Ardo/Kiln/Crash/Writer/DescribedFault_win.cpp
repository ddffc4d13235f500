#include "Ardo/Kiln/Crash/Writer/DescribedFault.h"

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Crash/Fault/UncaughtException.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/Report/CrashReportText.h"
#include "Ardo/Kiln/Crash/Report/TextSink.h"
#include "Ardo/Kiln/Crash/Writer/ReportPlace.h"
#include "Ardo/Kiln/Platform/LocalOffset.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <windows.h>
// After windows.h, which it needs.
#include <dbghelp.h>

namespace Ardo::Kiln::Crash
{

namespace
{

/// Calls \p function of the system's debugging library, which reads files and memory that may be damaged.
/// \returns whether it has ended; false after a fault in it.
template <typename Function>
bool CallProtected(const Function& function)
{
    return FaultDispatch::CallGuarded([](void* argument) { (*static_cast<const Function*>(argument))(); },
                                      const_cast<Function*>(&function),
                                      [](EXCEPTION_POINTERS*) { return FilterResult::ExecuteHandler; });
}

/// The number of the failure of MiniDumpWriteDump, which sets an HRESULT as the last error.
DWORD DumpError() noexcept
{
    const DWORD error = ::GetLastError();
    const auto result = static_cast<HRESULT>(error);
    const bool holdsNumber = FAILED(result) && HRESULT_FACILITY(result) == FACILITY_WIN32;
    const DWORD number = holdsNumber ? HRESULT_CODE(result) : error;
    return number != ERROR_SUCCESS ? number : ERROR_INTERNAL_ERROR;
}

} // namespace

DescribedFault::DescribedFault(EXCEPTION_POINTERS* pointers, std::string_view logFiles) noexcept : m_pointers(pointers)
{
    using namespace std::chrono;
    m_facts.processId = ::GetCurrentProcessId();
    m_facts.threadId = FaultDispatch::ThreadId();
    m_facts.time = duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
    m_facts.utcOffset = Platform::LocalOffset();
    m_facts.logFiles = logFiles;
    if (pointers == nullptr)
    {
        return;
    }
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    static_assert(sizeof record.ExceptionInformation[0] == sizeof(std::uint64_t));
    m_facts.code = record.ExceptionCode;
    m_facts.flags = record.ExceptionFlags;
    m_facts.address = reinterpret_cast<std::uint64_t>(record.ExceptionAddress);
    m_facts.information = {reinterpret_cast<const std::uint64_t*>(record.ExceptionInformation),
                           std::min<std::size_t>(record.NumberParameters, EXCEPTION_MAXIMUM_PARAMETERS)};
    m_facts.context = pointers->ContextRecord;
    if (const auto& thrown = UncaughtExceptionOfThread();
        m_facts.code == FaultCode::CxxException && thrown.code == FaultCode::CxxException)
    {
        m_facts.exceptionType = thrown.type;
        m_facts.exceptionMessage = thrown.message;
        m_facts.throwFrames = {thrown.frames, std::min(thrown.frameCount, UncaughtException::MaxFrames)};
    }
}

DescribedFault::~DescribedFault() = default;

std::optional<std::string> DescribedFault::TextFromOutside()
{
    static std::atomic<bool> g_hasFailed = false; // whoever was left in the middle has kept its lock
    const std::string version = ApplicationVersion();
    FaultFacts facts = m_facts;
    facts.applicationVersion = version;
    std::optional<std::string> text;
    const auto make = [&] { text = ReportText(GatherCrashDetails(facts)); };
    if (!g_hasFailed && !CallProtected(make))
    {
        g_hasFailed = true;
    }
    if (g_hasFailed)
    {
        StringSink sink;
        const auto module = ModuleOf(facts.processId, facts.address).value_or(LoadedModule{});
        AppendShortReport(sink, facts, module.file, module.base, !DumpsAreFaked());
        text = sink.Take();
    }
    return text;
}

int DescribedFault::WriteMinidump(void* file, MINIDUMP_TYPE type) noexcept
{
    // The system's function is not for several threads at once.
    static SRWLOCK g_lock = SRWLOCK_INIT;
    MINIDUMP_EXCEPTION_INFORMATION exception{m_facts.threadId, m_pointers, FALSE};
    DWORD error = ERROR_INTERNAL_ERROR;
    const auto write = [&]
    {
        const BOOL written = ::MiniDumpWriteDump(::GetCurrentProcess(), ::GetCurrentProcessId(), file, type,
                                                 m_pointers != nullptr ? &exception : nullptr, nullptr, nullptr);
        error = written ? ERROR_SUCCESS : DumpError();
    };
    ::AcquireSRWLockExclusive(&g_lock);
    CallProtected(write);
    ::ReleaseSRWLockExclusive(&g_lock);
    return static_cast<int>(error);
}

void PublishReportPlace(const std::string&, const std::string&, const std::string&, MINIDUMP_TYPE, bool) noexcept {}

} // namespace Ardo::Kiln::Crash
