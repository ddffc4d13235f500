#include "Ardo/Kiln/FileNaming/FileNameReservation.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/FileNaming/FileNameReservation_p.h"
#include "Ardo/Kiln/FileNaming/FileNamingException.h"
#include "Ardo/Kiln/FileNaming/ValidFileName.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Platform/FolderNames.h"
#include "Ardo/Kiln/Platform/SystemError.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace Ardo::Kiln::FileNaming
{

namespace fs = std::filesystem;

namespace
{

using Platform::RangeLockFile;

// Others hold the lock of a folder while they read the names in it.
constexpr std::chrono::seconds TimeLimit{10};

constexpr std::uint64_t FolderByte = 0;
constexpr std::uint64_t PresenceByte = 1;
constexpr std::uint64_t FirstNumberByte = 2;

bool IsBusy(const std::error_code& error) noexcept
{
    return error == std::errc::resource_unavailable_try_again;
}

[[noreturn]] void Fail(const fs::path& folder, const std::string& what, const std::error_code& error)
{
    throw FileNamingException(
        "No file name can be reserved in " + FileSystem::ToDisplayText(folder) + ": " + what +
            (error.category() == Platform::SystemErrors() && error ? ": " + error.message() : std::string()),
        error);
}

/// Opens the lock file of the folder and takes the lock of the folder.
std::unique_ptr<RangeLockFile> LockFolder(const fs::path& folder)
{
    const fs::path path = folder / ".reserved-names";
    const auto end = std::chrono::steady_clock::now() + TimeLimit;
    auto file = std::make_unique<RangeLockFile>();
    if (const auto error = file->Open(path))
    {
        Fail(folder, "the lock file cannot be opened", error);
    }
    for (;;)
    {
        const auto error = file->TryLock(FolderByte, RangeLockFile::Kind::Exclusive);
        if (!error && file->IsAt(path))
        {
            return file;
        }
        if (error && !IsBusy(error))
        {
            Fail(folder, "the lock file cannot be locked", error);
        }
        if (std::chrono::steady_clock::now() > end)
        {
            Fail(folder, "another program has held the folder for 10 s", std::make_error_code(std::errc::timed_out));
        }
        if (!error)
        {
            // Somebody has removed the file; a lock on it excludes nobody.
            if (const auto reopened = file->Open(path))
            {
                Fail(folder, "the lock file cannot be opened", reopened);
            }
            continue;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

/// The largest number of a file in the folders; -1 if there is none.
std::int64_t HighestIn(const std::vector<fs::path>& folders, const NamePattern& pattern)
{
    std::int64_t highest = -1;
    for (const fs::path& folder : folders)
    {
        const auto error = Platform::VisitNames(folder,
                                                [&](auto name)
                                                {
                                                    if (const auto number = pattern.NumberOf(name))
                                                    {
                                                        highest = std::max(highest, std::int64_t{*number});
                                                    }
                                                });
        if (error)
        {
            Fail(folder, "the folder cannot be read", error);
        }
    }
    return highest;
}

} // namespace

std::unique_ptr<FileNameReservation::Locks> FileNameReservation::Locks::Take(std::vector<fs::path> folders,
                                                                             const NamePattern& pattern,
                                                                             std::uint32_t key, std::uint32_t first,
                                                                             std::uint32_t last)
{
    // One order for everybody: two that wait for each other's second folder would wait for the whole time limit.
    std::sort(folders.begin(), folders.end());
    auto locks = std::make_unique<Locks>();
    bool isAlone = true;
    for (const fs::path& folder : folders)
    {
        locks->files.push_back(LockFolder(folder));
        isAlone = isAlone && !locks->files.back()->TryLock(PresenceByte, RangeLockFile::Kind::Exclusive);
    }
    constexpr int bitsOfNumber = 30;
    const std::uint64_t numbers = FirstNumberByte + (std::uint64_t{key} << bitsOfNumber);
    const auto takeNumber = [&](std::uint32_t number)
    {
        for (std::size_t i = 0; i < folders.size(); ++i)
        {
            const auto error = locks->files[i]->TryLock(numbers + number, RangeLockFile::Kind::Exclusive);
            if (error && !IsBusy(error))
            {
                Fail(folders[i], "the number cannot be locked", error);
            }
            if (error)
            {
                return false;
            }
        }
        return true;
    };
    const auto giveBack = [&](std::uint32_t number)
    {
        for (const auto& file : locks->files)
        {
            file->Unlock(numbers + number);
        }
    };

    std::int64_t highest = HighestIn(folders, pattern);
    for (std::int64_t number = first;; ++number)
    {
        number = std::max(number, highest + 1);
        if (number > last)
        {
            Fail(folders.front(), "no number up to " + std::to_string(last) + " is free", {});
        }
        locks->number = static_cast<std::uint32_t>(number);
        const bool isTaken = takeNumber(locks->number);
        // Another reservation may have made its file after the names were read, and may have ended since. With the lock
        // on the number nobody makes such a file any more.
        highest = isTaken && !isAlone ? HighestIn(folders, pattern) : highest;
        if (isTaken && highest < number)
        {
            break;
        }
        giveBack(locks->number);
    }
    for (std::size_t i = 0; i < folders.size(); ++i)
    {
        if (const auto error = locks->files[i]->TryLock(PresenceByte, RangeLockFile::Kind::Shared))
        {
            Fail(folders[i], "the lock file cannot be locked", error);
        }
        locks->files[i]->Unlock(FolderByte);
    }
    return locks;
}

FileNameReservation::FileNameReservation(std::unique_ptr<Locks> locks, fs::path folder, fs::path exportFolder)
    : m_locks(std::move(locks)),
      m_folder(std::move(folder)),
      m_exportFolder(std::move(exportFolder)),
      m_number(m_locks->number)
{
}

FileNameReservation::~FileNameReservation() = default;
FileNameReservation::FileNameReservation(FileNameReservation&& other) noexcept = default;
FileNameReservation& FileNameReservation::operator=(FileNameReservation&& other) noexcept = default;

fs::path FileNameReservation::Path(std::wstring_view extension) const
{
    return m_folder / FileSystem::ToPath(WithExtension(m_stem, extension));
}

fs::path FileNameReservation::ExportPath(std::wstring_view extension) const
{
    return (m_exportFolder.empty() ? m_folder : m_exportFolder) / FileSystem::ToPath(WithExtension(m_stem, extension));
}

std::wstring WithExtension(const std::wstring& stem, std::wstring_view extension)
{
    if (extension.empty())
    {
        return stem;
    }
    std::string bytes;
    Conversion::AppendReplacing(bytes, extension);
    if (bytes.size() > MaxExtensionBytes || extension.front() == L'.' ||
        !IsValidFileName(L"x." + std::wstring(extension)))
    {
        throw std::invalid_argument("\"" + bytes.substr(0, MaxExtensionBytes) + "\" is no extension of a file name");
    }
    return stem + L"." + std::wstring(extension);
}

} // namespace Ardo::Kiln::FileNaming
