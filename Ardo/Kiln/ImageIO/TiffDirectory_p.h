#pragma once

#include "Ardo/Kiln/ImageIO/BlockReader_p.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace Ardo::Kiln::ImageIO
{

/// Reads the directories of a TIFF file without libtiff: the entries, and whether the file holds their values.
///
/// libtiff drops an entry whose values it cannot read with a warning, so that a file that was cut looks like one that
/// never had the entry. This reader distinguishes the two. It supports classic and BigTIFF files of both byte orders
/// (TIFF 6.0, section 2) and reads only the header and the requested directories.
class TiffDirectoryReader
{
public:
    /// Reads \p size bytes at \p offset. Returns false if there are fewer.
    using Read = std::function<bool(std::uint64_t offset, void* bytes, std::size_t size)>;

    struct Entry
    {
        std::uint16_t tag;
        std::uint16_t type;   ///< One of the codes of TIFF 6.0 and BigTIFF, or anything else.
        std::uint64_t count;  ///< Of values.
        std::uint16_t value;  ///< The first value if it is a SHORT that stands in the entry itself.
        std::uint64_t at;     ///< Where the values begin in the file.
        bool isInside = true; ///< False if some of the values lie beyond the end of the file.

        /// The text of that fault: "tag 270 lies beyond the end of the file".
        std::string BeyondEnd() const;
        /// The text of the fault that the values are of a wrong type or number.
        std::string NotReadable() const;
    };

    struct Directory
    {
        std::vector<Entry> entries;
        std::uint64_t next; ///< Where the following directory begins; 0 after the last.
    };

    /// Reads \p file, which has to outlive the object.
    /// \throws as the other constructor does.
    explicit TiffDirectoryReader(BlockReader& file);

    /// \param size of the file in bytes.
    /// \throws std::runtime_error whose text is the reason if the file does not begin as a TIFF file does.
    TiffDirectoryReader(Read read, std::uint64_t size);

    /// Where the first directory begins.
    std::uint64_t First() const noexcept { return m_first; }

    /// The directory that begins at \p offset.
    /// \throws std::runtime_error whose text is the reason if it does not lie inside the file, or if it names a
    ///         successor that does not.
    Directory At(std::uint64_t offset) const;

    /// The text of an entry of type ASCII, or of another type of single bytes, up to its first null character. It is
    /// the text that libtiff returns.
    /// \throws std::runtime_error whose text is the reason if the entry is of another type or does not lie inside the
    ///         file.
    std::string Text(const Entry& entry) const;

    /// The offsets of the directories in the order of their chain. The list ends where the chain returns to a directory
    /// listed already, and after \p limit directories.
    /// \throws std::runtime_error as At() does.
    std::vector<std::uint64_t> Chain(std::size_t limit) const;

private:
    std::uint64_t Number(const unsigned char* bytes, std::size_t size) const noexcept;
    void ReadBytes(std::uint64_t offset, std::span<unsigned char> bytes) const;
    std::uint64_t NumberAt(std::uint64_t offset, std::size_t size) const;
    std::uint64_t CountAt(std::uint64_t offset) const;
    std::uint64_t NextOf(std::uint64_t offset, std::uint64_t count) const;
    bool IsInEntry(const Entry& entry) const noexcept;
    bool IsInside(const Entry& entry) const noexcept;
    std::size_t EntrySize() const noexcept { return 4 + 2 * m_word; }
    std::size_t CountSize() const noexcept { return m_word == 8 ? 8 : 2; }

    Read m_read;
    std::uint64_t m_size;
    std::uint64_t m_first = 0;
    std::size_t m_word = 4; ///< Bytes of an offset: 8 in a BigTIFF file.
    bool m_isBigEndian = false;
};

} // namespace Ardo::Kiln::ImageIO
