// Reports about a process from outside it. The library starts it, with the number of the process and the address of a
// CrashRequest in it; see Ardo/Kiln/Platform/CrashWriterProcess.h.

#include "Ardo/Kiln/Platform/CrashRequest.h"
#include "Ardo/Kiln/Platform/CrashRequestCopy_linux.h"
#include "Ardo/Kiln/Platform/MinidumpWriter_linux.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace
{

using Ardo::Kiln::Platform::CrashRequest;

constexpr int DumpDescriptor = 3;

template <typename T>
bool Parse(const char* text, T& number)
{
    const char* const end = text + std::strlen(text);
    const auto [last, error] = std::from_chars(text, end, number);
    return error == std::errc() && last == end && number > 0;
}

void CarryOut(CrashRequest& request)
{
    using namespace Ardo::Kiln;
    request.done = 0;
    request.systemError = 0;
    request.textLength = 0;
    if ((request.tasks & CrashRequest::WriteDump) != 0)
    {
        const int error = Platform::WriteMinidumpFile(DumpDescriptor, request);
        request.systemError = error;
        if (error == 0)
        {
            request.done |= CrashRequest::WriteDump;
        }
    }
}

} // namespace

int main(int argc, char* argv[])
{
    using namespace Ardo::Kiln;
    std::int32_t process = 0;
    std::uint64_t address = 0;
    if (argc != 3 || !Parse(argv[1], process) || !Parse(argv[2], address))
    {
        std::fputs("kiln-crash-writer " KILN_VERSION "\n"
                   "Writes the crash report and the minidump of a process that has faulted, on this machine only.\n"
                   "The library Common starts it by itself with\n"
                   "    kiln-crash-writer PROCESS ADDRESS\n"
                   "where a request lies at ADDRESS of PROCESS. It is of no use to start it by hand.\n",
                   stderr);
        return argc == 2 && std::strcmp(argv[1], "--help") == 0 ? 0 : 2;
    }
    static CrashRequest g_request;
    if (const int error = Platform::FetchCrashRequest(process, address, g_request); error != 0)
    {
        return error;
    }
    CarryOut(g_request);
    return Platform::AnswerCrashRequest(process, address, g_request);
}
