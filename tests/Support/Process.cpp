#include "tests/Support/Process.h"

#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sys/wait.h>

namespace Ardo::Kiln::Support
{

ProcessResult RunShell(const std::string& line, const std::filesystem::path& folder)
{
    const ScopedTempDir streams;
    const std::string command = "cd " + Quoted(folder.string()) + " && { " + line + "\n} </dev/null >" +
                                Quoted((streams / "out").string()) + " 2>" + Quoted((streams / "err").string());
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), ReadFile(streams / "out"),
            ReadFile(streams / "err")};
}

std::string Quoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char unit : text)
    {
        quoted += unit == '\'' ? std::string("'\\''") : std::string(1, unit);
    }
    return quoted + "'";
}

std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    ASSERT_TRUE(file.flush()) << path;
}

} // namespace Ardo::Kiln::Support
