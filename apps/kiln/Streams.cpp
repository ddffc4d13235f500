#include "apps/kiln/Streams.h"

#include "apps/kiln/Failure.h"
#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <functional>
#include <iostream>
#include <system_error>

namespace Ardo::Kiln::Tool
{

namespace fs = std::filesystem;

namespace
{

std::string Reason()
{
    return errno != 0 ? std::generic_category().message(errno) : "input or output error";
}

/// Opens a file for reading in large pieces.
/// \param name names it in messages.
/// \throws Failure with the system's reason.
std::ifstream Open(const fs::path& path, const std::string& name)
{
    errno = 0;
    std::ifstream file;
    file.rdbuf()->pubsetbuf(nullptr, 0); // a buffer would be allocated and copied for nothing
    file.open(path, std::ios::binary);
    if (!file)
    {
        throw Failure(name + ": " + Reason());
    }
    return file;
}

/// Reads \p source to its end and hands each block to \p take.
/// \param name names it in messages.
/// \throws Failure with the system's reason.
void ReadBlocks(std::istream& source, const std::string& name, const std::function<void(std::string_view)>& take)
{
    std::string block(1 << 16, '\0');
    errno = 0;
    while (source.read(block.data(), static_cast<std::streamsize>(block.size())), source.gcount() > 0)
    {
        take(std::string_view(block).substr(0, static_cast<std::size_t>(source.gcount())));
    }
    if (source.bad())
    {
        throw Failure(name + ": " + Reason());
    }
}

void Copy(std::istream& source, std::ostream& target, const std::string& sourceName, const std::string& targetName)
{
    const auto check = [&]
    {
        if (!target)
        {
            throw Failure(targetName + ": " + Reason());
        }
    };
    ReadBlocks(source, sourceName,
               [&](std::string_view block)
               {
                   target << block;
                   check();
               });
    target.flush();
    check();
}

} // namespace

InputFile::InputFile(const std::string& name, bool isRegular) : m_name(name == StandardStream ? "standard input" : name)
{
    const auto copy = [this](std::istream& source)
    {
        m_path = m_copy.emplace().Path();
        std::ofstream file(m_path, std::ios::binary);
        Copy(source, file, m_name, "temporary file");
    };
    if (name == StandardStream)
    {
        copy(std::cin);
        return;
    }
    m_path = ToPath(name);
    if (isRegular)
    {
        return;
    }
    std::error_code error;
    const fs::file_status status = fs::status(m_path, error);
    if (!fs::exists(status))
    {
        throw Failure(name + ": " + (error ? error.message() : "no such file"));
    }
    if (fs::is_directory(status))
    {
        throw Failure(name + ": is a folder");
    }
    if (!fs::is_regular_file(status) && !fs::is_fifo(status))
    {
        throw Failure(name + ": is neither a file nor a pipe");
    }
    if (fs::is_fifo(status))
    {
        std::ifstream pipe = Open(m_path, name);
        copy(pipe);
    }
}

std::string InputFile::Head() const
{
    std::string head(4096, '\0');
    std::ifstream file = Open(m_path, m_name);
    file.read(head.data(), static_cast<std::streamsize>(head.size()));
    if (file.bad())
    {
        throw Failure(m_name + ": " + Reason());
    }
    head.resize(static_cast<std::size_t>(file.gcount()));
    return head;
}

std::wstring InputFile::WidePath() const
{
    return FileSystem::ToWide(m_path);
}

std::string InputFile::Text(std::size_t limit) const
{
    std::ifstream file = Open(m_path, m_name);
    std::string text;
    ReadBlocks(file, m_name,
               [&](std::string_view block)
               {
                   text += block;
                   if (text.size() > limit)
                   {
                       throw Failure(m_name + ": longer than " + std::to_string(limit) + " bytes");
                   }
               });
    return text;
}

fs::path ToPath(const std::string& name)
{
    return fs::path(std::u8string(name.begin(), name.end()));
}

std::string ToName(const fs::path& path)
{
    const std::u8string name = path.u8string();
    return {name.begin(), name.end()};
}

void Print(std::string_view text)
{
    errno = 0;
    if (!(std::cout << text << std::flush))
    {
        throw Failure("standard output: " + Reason());
    }
}

void WriteText(const std::string& name, std::string_view text)
{
    if (name == StandardStream)
    {
        Print(text);
        return;
    }
    try
    {
        FileSystem::ReplacementFile file(ToPath(name));
        errno = 0;
        std::ofstream stream(file.Path(), std::ios::binary);
        stream << text;
        stream.close();
        if (!stream)
        {
            throw Failure(name + ": " + Reason());
        }
        file.Commit();
    }
    catch (const fs::filesystem_error& error)
    {
        throw Failure(name + ": " + ReasonOf(error));
    }
}

void WriteOutput(const std::string& name, const std::function<void(const std::wstring&)>& write)
{
    if (name == StandardStream)
    {
        const FileSystem::TemporaryFile file;
        write(file.WidePath());
        PrintFile(file.Path());
        return;
    }
    try
    {
        FileSystem::ReplacementFile file(ToPath(name));
        write(file.WidePath());
        file.Commit();
    }
    catch (const fs::filesystem_error& error)
    {
        throw Failure(name + ": " + ReasonOf(error));
    }
}

void RefuseInput(const std::string& input, const std::string& output)
{
    std::error_code differ; // also if one of them does not exist
    if (output != StandardStream && fs::equivalent(ToPath(input), ToPath(output), differ))
    {
        throw UsageError("OUT: is IN, which would be lost");
    }
}

std::string ReasonOf(const fs::filesystem_error& error)
{
    return error.code() == std::errc::invalid_argument ? "is not a file that can be replaced" : error.code().message();
}

void PrintFile(const fs::path& path)
{
    std::ifstream file = Open(path, "temporary file");
    Copy(file, std::cout, "temporary file", "standard output");
}

std::string Printable(std::string_view text)
{
    std::string printable;
    AppendPrintable(printable, text);
    return printable;
}

void AppendPrintable(std::string& target, std::string_view text)
{
    const auto isPlain = [](char unit) { return unit >= 0x20 && unit < 0x7F; };
    if (std::all_of(text.begin(), text.end(), isPlain))
    {
        target += text;
        return;
    }
    std::string valid;
    Conversion::AppendReplacing(valid, text);
    for (std::size_t i = 0; i < valid.size(); ++i)
    {
        const auto unit = static_cast<unsigned char>(valid[i]);
        // U+0080 to U+009F are control characters too; in UTF-8 they are 0xC2 and the code itself.
        const bool isUpperControl = unit == 0xC2 && static_cast<unsigned char>(valid[i + 1]) < 0xA0;
        i += isUpperControl ? 1 : 0;
        target += isUpperControl || unit < 0x20 || unit == 0x7F ? '?' : valid[i];
    }
}

} // namespace Ardo::Kiln::Tool
