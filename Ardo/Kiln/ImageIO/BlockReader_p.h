#pragma once

#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <system_error>
#include <utility>

namespace Ardo::Kiln::ImageIO
{

/// Reads a file as RandomAccessFile does, small reads through one block of the file that is kept. A TIFF file is read
/// in many pieces of a few bytes, most of which stand side by side; a call of the system for each takes longer than
/// everything else that is done with it.
class BlockReader
{
public:
    /// \param file not null. While there is an object that has read, nobody may write to the file through this process.
    explicit BlockReader(std::unique_ptr<Platform::RandomAccessFile> file) : m_file(std::move(file)) {}

    /// The same as RandomAccessFile::ReadAt.
    std::int64_t ReadAt(std::uint64_t offset, void* bytes, std::int64_t size) noexcept;

    std::uint64_t SizeWhenOpened() const noexcept { return m_file->SizeWhenOpened(); }
    std::error_code LastError() const noexcept { return m_file->LastError(); }

    Platform::RandomAccessFile& File() noexcept { return *m_file; }

private:
    /// False if the block at \p begin cannot be read, or there is no memory for it.
    bool ReadBlock(std::uint64_t begin) noexcept;

    static constexpr std::uint64_t BlockSize = 32 * 1024; ///< Holds the directory and the record of a usual file.

    std::unique_ptr<Platform::RandomAccessFile> m_file;
    std::unique_ptr<char[]> m_block; ///< Null before the first read.
    std::uint64_t m_blockSize = 0;   ///< Less than BlockSize at the end of the file; 0 before the first read.
    std::uint64_t m_blockOffset = 0; ///< Where the block begins in the file.
};

} // namespace Ardo::Kiln::ImageIO
