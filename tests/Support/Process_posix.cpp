#include "tests/Support/Process.h"

#include "tests/Support/ScopedTempDir.h"

#include <cstdlib>
#include <sys/wait.h>

namespace Ardo::Kiln::Support
{

namespace
{

int StatusOf(int waitStatus)
{
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
}

} // namespace

std::vector<ProcessResult> RunSideBySide(const std::vector<Program>& programs)
{
    const ScopedTempDir streams;
    std::string line;
    const auto stream = [&](const char* kind, std::size_t index)
    { return Quoted(streams / (kind + std::to_string(index))); };
    for (std::size_t index = 0; index < programs.size(); ++index)
    {
        const Program& program = programs[index];
        WriteFile(streams / ("in" + std::to_string(index)), program.input);
        line += "( ";
        line += program.folder.empty() ? "" : "cd " + Quoted(program.folder) + " && ";
        line += "exec env";
        for (const auto& [name, value] : program.variables)
        {
            line += " " + Quoted(name + "=" + value);
        }
        for (const std::string& word : program.words)
        {
            line += " " + Quoted(word);
        }
        line += " ) <" + stream("in", index) + " >" + stream("out", index) + " 2>" + stream("err", index) + " & p" +
                std::to_string(index) + "=$!\n";
    }
    for (std::size_t index = 0; index < programs.size(); ++index)
    {
        line += "wait $p" + std::to_string(index) + "; echo $? >" + stream("status", index) + "\n";
    }
    std::system(line.c_str());
    std::vector<ProcessResult> results;
    for (std::size_t index = 0; index < programs.size(); ++index)
    {
        const auto read = [&](const char* kind) { return ReadFile(streams / (kind + std::to_string(index))); };
        results.push_back({std::atoi(read("status").c_str()), read("out"), read("err")});
    }
    return results;
}

ProcessResult RunShell(const std::string& line, const std::filesystem::path& folder)
{
    const ScopedTempDir streams;
    const std::string command = "cd " + Quoted(folder.string()) + " && { " + line + "\n} </dev/null >" +
                                Quoted((streams / "out").string()) + " 2>" + Quoted((streams / "err").string());
    const int status = StatusOf(std::system(command.c_str()));
    return {status, ReadFile(streams / "out"), ReadFile(streams / "err")};
}

} // namespace Ardo::Kiln::Support
