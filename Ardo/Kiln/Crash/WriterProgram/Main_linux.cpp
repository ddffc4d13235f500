// Reports about a process from outside it. The library starts it, with the number of the process and the address of a
// CrashRequest in it; see Ardo/Kiln/Crash/Writer/CrashWriterProcess_linux.h.

#include "Ardo/Kiln/Crash/WriterProgram/Reports_linux.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Minidump/MinidumpWriter_linux.h"
#include "Ardo/Kiln/Crash/WriterProgram/CrashRequestCopy_linux.h"
#include "Ardo/Kiln/Platform/StandardError.h"
#include "Ardo/KilnVersion.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <exception>

namespace
{

using namespace Ardo::Kiln::Crash;
namespace Platform = Ardo::Kiln::Platform;

constexpr int DumpDescriptor = 3; // where the library puts the file of CrashRequest::WriteDump

template <typename T>
bool Parse(const char* text, T& number)
{
    const char* const end = text + std::strlen(text);
    const auto [last, error] = std::from_chars(text, end, number);
    return error == std::errc() && last == end && number > 0;
}

/// Does one task if it was asked for; \p work answers the system's error number.
template <class Work>
void Do(CrashRequest& request, CrashRequest::Task task, Work work)
{
    if ((request.tasks & task) == 0)
    {
        return;
    }
    int error = 0;
    try
    {
        error = work();
    }
    catch (const std::exception&)
    {
        error = static_cast<int>(std::errc::not_enough_memory); // nothing else is thrown
    }
    if (error == 0)
    {
        request.done |= task;
    }
    else
    {
        request.systemError = error;
    }
}

} // namespace

int main(int argc, char* argv[])
{
    std::int32_t process = 0;
    std::uint64_t address = 0;
    if (argc != 3 || !Parse(argv[1], process) || !Parse(argv[2], address))
    {
        Platform::WriteStandardError(
            "kiln-crash-writer " KILN_VERSION "\n"
            "Writes the crash report and the minidump of a process that has faulted. Nothing leaves this machine.\n"
            "The library Common starts it by itself with\n"
            "    kiln-crash-writer PROCESS ADDRESS\n"
            "where a request lies at ADDRESS of PROCESS. It is of no use to start it by hand.\n");
        return argc == 2 && std::strcmp(argv[1], "--help") == 0 ? 0 : 2;
    }
    static CrashRequest g_request;
    if (const int error = FetchCrashRequest(process, address, g_request); error != 0)
    {
        return error;
    }
    g_request.done = 0;
    g_request.systemError = 0;
    g_request.textLength = 0;
    // The dump first: it shows more than the text, and is taken as soon after the fault as possible.
    Do(g_request, CrashRequest::WriteDump, [] { return WriteMinidumpFile(DumpDescriptor, g_request); });
    Do(g_request, CrashRequest::CreateFiles, [] { return CreateFiles(g_request); });
    Do(g_request, CrashRequest::MakeText, [] { return MakeText(g_request); });
    const int error = AnswerCrashRequest(process, address, g_request);
    std::_Exit(error); // a symboliser that takes too long may still run
}
