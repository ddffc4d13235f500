#pragma once

#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include <cstddef>
#include <cstdint>
#include <system_error>
#include <vector>

namespace Ardo::Kiln::ImageIO
{

/// Reads a file as RandomAccessFile does, small reads through one block of the file that is kept. A TIFF file is read
/// in many pieces of a few bytes, most of which stand side by side; a call of the system for each takes longer than
/// everything else that is done with it.
class BlockReader
{
public:
    /// \p file has to outlive the object, and nobody may write to it meanwhile through this process.
    explicit BlockReader(Platform::RandomAccessFile& file) : m_file(file) {}

    /// The same as RandomAccessFile::ReadAt.
    std::int64_t ReadAt(std::uint64_t offset, void* bytes, std::int64_t size) noexcept;

    std::uint64_t SizeWhenOpened() const noexcept { return m_file.SizeWhenOpened(); }
    std::error_code LastError() const noexcept { return m_file.LastError(); }

private:
    /// False if the block at \p begin cannot be read, or there is no memory for it.
    bool ReadBlock(std::uint64_t begin) noexcept;

    Platform::RandomAccessFile& m_file;
    std::vector<char> m_block;       ///< Shorter than a block at the end of the file; empty before the first read.
    std::uint64_t m_blockOffset = 0; ///< Where the block begins in the file.
};

} // namespace Ardo::Kiln::ImageIO
