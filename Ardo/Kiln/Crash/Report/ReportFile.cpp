#include "Ardo/Kiln/Crash/Report/ReportFile.h"

#include <charconv>
#include <system_error>
#include <utility>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr unsigned MostNames = 10000; ///< Beyond that something else is wrong with the folder.

std::filesystem::path Numbered(const std::filesystem::path& stem, unsigned number)
{
    auto path = stem;
    if (number > 1)
    {
        char digits[16] = {'_'};
        path += std::string_view(digits, std::to_chars(digits + 1, digits + sizeof digits, number).ptr);
    }
    return path;
}

std::filesystem::path Extended(std::filesystem::path path, std::string_view extension)
{
    return path += extension; // not replace_extension: a version has dots, too
}

/// Whether there is anything of that name, a dangling link included.
bool Exists(const std::filesystem::path& path) noexcept
{
    std::error_code error;
    return std::filesystem::exists(std::filesystem::symlink_status(path, error));
}

} // namespace

ReportFile::~ReportFile()
{
    Discard();
}

std::uint32_t ReportFile::Create(const std::filesystem::path& folder, const std::filesystem::path& stem,
                                 std::string_view extension)
{
    m_folder = folder;
    m_stem = stem;
    m_extension = extension;
    std::uint32_t error = 0;
    for (unsigned number = 1; number <= MostNames; ++number)
    {
        m_path = Extended(folder / Numbered(stem, number), extension);
        auto part = Extended(m_path, ".part");
        if (number < MostNames && Exists(m_path))
        {
            continue;
        }
        error = CreateNew(part, m_file);
        if (error == 0)
        {
            m_part = std::move(part);
        }
        if (!IsTaken(error))
        {
            break;
        }
    }
    return error;
}

std::uint32_t ReportFile::Publish()
{
    auto error = FlushAndClose(std::exchange(m_file, nullptr));
    for (unsigned number = 1; error == 0 && number <= MostNames; ++number)
    {
        error = RenameToNew(m_part, m_path);
        if (error == 0)
        {
            m_part.clear();
            return 0;
        }
        if (IsTaken(error)) // meanwhile by another process
        {
            m_path = Extended(m_folder / Numbered(m_stem, number + 1), m_extension);
            error = number < MostNames ? 0 : error;
        }
    }
    Discard();
    return error;
}

void ReportFile::Discard() noexcept
{
    if (m_file != nullptr)
    {
        static_cast<void>(FlushAndClose(std::exchange(m_file, nullptr)));
    }
    if (!m_part.empty())
    {
        std::error_code ignored; // nothing is left to be done about it
        std::filesystem::remove(m_part, ignored);
        m_part.clear();
    }
}

std::filesystem::path FreeReportStem(const std::filesystem::path& folder, const std::filesystem::path& stem)
{
    for (unsigned number = 1;; ++number)
    {
        auto name = Numbered(stem, number);
        bool taken = false;
        for (const std::string_view extension : {".dmp", ".dmp.part", ".txt", ".txt.part"})
        {
            taken = taken || Exists(Extended(folder / name, extension));
        }
        if (!taken || number >= MostNames)
        {
            return name;
        }
    }
}

} // namespace Ardo::Kiln::Crash
