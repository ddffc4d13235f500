#include "tests/Support/Process.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace Ardo::Kiln::Support
{

namespace
{

/// A quoted text is one word with what stands before and behind it; "''\''" in it stands for a quote.
std::vector<std::string> WordsOf(const std::string& line)
{
    std::vector<std::string> words;
    bool isOpen = false;
    bool isQuoted = false;
    for (std::size_t i = 0; i < line.size(); ++i)
    {
        if (line[i] == '\'')
        {
            isQuoted = !isQuoted;
        }
        if (line[i] == ' ' && !isQuoted)
        {
            isOpen = false;
            continue;
        }
        if (!isOpen)
        {
            words.emplace_back();
            isOpen = true;
        }
        if (line[i] == '\\' && !isQuoted && i + 1 < line.size())
        {
            words.back() += line[++i];
        }
        else if (line[i] != '\'')
        {
            words.back() += line[i];
        }
    }
    EXPECT_FALSE(isQuoted) << line;
    return words;
}

std::filesystem::path PathOf(const std::string& name)
{
    return std::filesystem::path(std::u8string(name.begin(), name.end()));
}

} // namespace

ProcessResult Run(const Program& program)
{
    return RunSideBySide({program}).front();
}

ProcessResult RunLine(const std::string& line, const std::filesystem::path& folder)
{
    Program program{WordsOf(line), folder};
    std::optional<std::filesystem::path> target;
    for (std::size_t last = program.words.size(); last > 2; last = program.words.size())
    {
        const std::filesystem::path name = PathOf(program.words.back());
        // On Windows "/name" is on the drive of this process, which may be another one than that of the folder.
        const std::filesystem::path file = name.has_root_directory() ? name : folder / name;
        if (program.words[last - 2] == "<")
        {
            program.input = ReadFile(file);
        }
        else if (program.words[last - 2] == ">")
        {
            target = file;
        }
        else
        {
            break;
        }
        program.words.resize(last - 2);
    }
    ProcessResult result = Run(program);
    if (target)
    {
        WriteFile(*target, result.output);
        result.output.clear();
    }
    return result;
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

std::size_t Count(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
    {
        ++count;
    }
    return count;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to)
{
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    {
        text.replace(at, from.size(), to);
    }
    return text;
}

} // namespace Ardo::Kiln::Support
