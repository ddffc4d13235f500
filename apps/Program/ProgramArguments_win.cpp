#include "apps/Program/ProgramArguments.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h> // needs windows.h before it

namespace Ardo::Kiln::Program
{

namespace
{

/// \param text UTF-16; what is no part of it becomes U+FFFD.
std::string ToUtf8(const wchar_t* text)
{
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), size, nullptr, nullptr);
    utf8.resize(utf8.empty() ? 0 : utf8.size() - 1); // without the terminating null
    return utf8;
}

} // namespace

std::vector<std::string> ProgramArguments(int argc, char** argv)
{
    int count = 0;
    wchar_t** const words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    if (words == nullptr) // no memory
    {
        return {argv, argv + argc};
    }
    std::vector<std::string> arguments;
    for (int index = 0; index < count; ++index)
    {
        arguments.push_back(ToUtf8(words[index]));
    }
    ::LocalFree(words);
    return arguments;
}

void UseBinaryStreams()
{
    for (std::FILE* const stream : {stdin, stdout, stderr})
    {
        ::_setmode(::_fileno(stream), _O_BINARY);
    }
    ::SetConsoleOutputCP(CP_UTF8);
}

} // namespace Ardo::Kiln::Program
