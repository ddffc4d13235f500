#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace Ardo::Kiln::FileNaming
{

/// A name that nobody else gets as long as this object exists. FileNameGenerator::Reserve makes it.
///
/// Destroy it when the file with its name is complete, or when no file will be made: the number is then free again. A
/// process that ends gives its reservations back. Move-only; one thread at a time.
class KILN_EXPORT FileNameReservation
{
public:
    ~FileNameReservation();
    FileNameReservation(FileNameReservation&& other) noexcept;
    FileNameReservation& operator=(FileNameReservation&& other) noexcept;

    /// The number; without numbers, which file of its name this is.
    std::uint32_t Number() const noexcept { return m_number; }

    /// The name without extension.
    const std::wstring& Stem() const noexcept { return m_stem; }

    /// The path of the file in the folder of acquisitions.
    /// \param extension without the dot, for example L"tif"; empty for none.
    /// \throws std::invalid_argument if \p extension is no part of a valid name or has more than 15 bytes.
    std::filesystem::path Path(std::wstring_view extension) const;

    /// The path of a copy in the auto-export folder; in the folder of acquisitions if none is used.
    /// \throws std::invalid_argument like Path.
    std::filesystem::path ExportPath(std::wstring_view extension) const;

private:
    friend class FileNameGenerator;
    struct KILN_NO_EXPORT Locks;

    FileNameReservation(std::unique_ptr<Locks> locks, std::filesystem::path folder, std::filesystem::path exportFolder);

    std::unique_ptr<Locks> m_locks;
    std::filesystem::path m_folder;
    std::filesystem::path m_exportFolder; ///< Empty: not used.
    std::wstring m_stem;
    std::uint32_t m_number = 0;
};

} // namespace Ardo::Kiln::FileNaming
