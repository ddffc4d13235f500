#include "apps/kiln/Streams.h"

#include "apps/kiln/Failure.h"
#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Types/Guid.h"

#include <cerrno>
#include <fstream>
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

void Copy(std::istream& source, std::ostream& target, const std::string& sourceName, const std::string& targetName)
{
    std::string block(1 << 16, '\0');
    errno = 0;
    while (source.read(block.data(), static_cast<std::streamsize>(block.size())), source.gcount() > 0)
    {
        if (!target.write(block.data(), source.gcount()))
        {
            throw Failure(targetName + ": " + Reason());
        }
    }
    if (source.bad())
    {
        throw Failure(sourceName + ": " + Reason());
    }
    if (!target.flush())
    {
        throw Failure(targetName + ": " + Reason());
    }
}

} // namespace

InputFile::InputFile(const std::string& name)
{
    if (name != StandardStream)
    {
        m_path = ToPath(name);
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
        return;
    }
    m_path = fs::temp_directory_path() / ("kiln-" + Types::Guid::Generate().ToString());
    m_isTemporary = true;
    try
    {
        std::ofstream file(m_path, std::ios::binary);
        Copy(std::cin, file, "standard input", m_path.string());
    }
    catch (...)
    {
        std::error_code ignored;
        fs::remove(m_path, ignored);
        throw;
    }
}

InputFile::~InputFile()
{
    if (m_isTemporary)
    {
        std::error_code ignored;
        fs::remove(m_path, ignored);
    }
}

std::wstring InputFile::WidePath() const
{
    return FileSystem::ToWide(m_path);
}

std::string InputFile::Head(std::size_t count) const
{
    std::ifstream file(m_path, std::ios::binary);
    std::string head(count, '\0');
    file.read(head.data(), static_cast<std::streamsize>(count));
    head.resize(static_cast<std::size_t>(file.gcount()));
    return head;
}

std::string InputFile::Text(std::size_t limit) const
{
    errno = 0;
    std::ifstream file(m_path, std::ios::binary);
    if (!file)
    {
        throw Failure(m_path.string() + ": " + Reason());
    }
    std::string text;
    std::string block(1 << 16, '\0');
    while (file.read(block.data(), static_cast<std::streamsize>(block.size())), file.gcount() > 0)
    {
        text.append(block, 0, static_cast<std::size_t>(file.gcount()));
        if (text.size() > limit)
        {
            throw Failure(m_path.string() + ": longer than " + std::to_string(limit) + " bytes");
        }
    }
    if (file.bad())
    {
        throw Failure(m_path.string() + ": " + Reason());
    }
    return text;
}

fs::path ToPath(const std::string& name)
{
    return fs::path(std::u8string(name.begin(), name.end()));
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

void PrintFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    Copy(file, std::cout, path.string(), "standard output");
}

std::string Printable(std::string_view text)
{
    std::string printable;
    Conversion::AppendReplacing(printable, text);
    for (std::size_t i = 0; i < printable.size(); ++i)
    {
        const auto unit = static_cast<unsigned char>(printable[i]);
        // U+0080 to U+009F are control characters too; in UTF-8 they are 0xC2 and the code itself.
        const bool isUpperControl = unit == 0xC2 && i + 1 < printable.size() &&
                                    static_cast<unsigned char>(printable[i + 1]) >= 0x80 &&
                                    static_cast<unsigned char>(printable[i + 1]) < 0xA0;
        if (unit < 0x20 || unit == 0x7F)
        {
            printable[i] = '?';
        }
        else if (isUpperControl)
        {
            printable.replace(i, 2, "?");
        }
    }
    return printable;
}

} // namespace Ardo::Kiln::Tool
