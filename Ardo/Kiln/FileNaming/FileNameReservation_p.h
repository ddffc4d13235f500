#pragma once

#include "Ardo/Kiln/FileNaming/FileNameReservation.h"
#include "Ardo/Kiln/FileNaming/NamePattern_p.h"
#include "Ardo/Kiln/Platform/RangeLockFile.h"

#include <memory>
#include <vector>

namespace Ardo::Kiln::FileNaming
{

/// The longest extension, in bytes of UTF-8 without the dot.
inline constexpr std::size_t MaxExtensionBytes = 15;

/// The name of a file.
/// \param extension without the dot; empty for none.
/// \throws std::invalid_argument like FileNameReservation::Path.
std::wstring WithExtension(const std::wstring& stem, std::wstring_view extension);

/// The locks of one reservation, and how they are taken.
///
/// Each folder has a hidden lock file. Byte 0 is locked while somebody looks for a number. Byte 1 is locked, shared, by
/// each reservation. Each number of each experiment has a byte of its own, which its reservation locks.
struct KILN_NO_EXPORT FileNameReservation::Locks
{
    /// Takes the next number that is free in all folders.
    /// \param folders existing folders; one or two, not the same.
    /// \param pattern recognises the numbers in the names of files.
    /// \param key tells experiments apart: the hash of what their names begin with.
    /// \param first the smallest number to take.
    /// \param last the largest number to take.
    /// \throws FileNamingException see FileNameGenerator::Reserve.
    static std::unique_ptr<Locks> Take(std::vector<std::filesystem::path> folders, const NamePattern& pattern,
                                       std::uint32_t key, std::uint32_t first, std::uint32_t last);

    std::vector<std::unique_ptr<Platform::RangeLockFile>> files;
    std::uint32_t number = 0;
};

} // namespace Ardo::Kiln::FileNaming
