#pragma once

#include "Ardo/Kiln/ImageIO/BlockReader_p.h"
#include "Ardo/Kiln/ImageIO/ReadProgress_p.h"
#include "Ardo/Kiln/ImageIO/TiffDirectory_p.h"
#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include <array>
#include <cstdarg>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

struct tiff; // libtiff's TIFF

namespace Ardo::Kiln::ImageIO
{

/// Registers the library's private tags with libtiff for every file that this process opens from now on. Takes effect
/// once per process; the extender that was installed before is called as well. Any thread may call it.
void InstallTagExtender();

/// \p text, followed by \p reason in parentheses unless that is empty.
std::string WithReason(std::string text, const std::string& reason);

/// One TIFF file open in libtiff, with libtiff's errors and warnings about it.
///
/// libtiff reads and writes through Platform::RandomAccessFile, so that paths, the system's own reasons for a failure
/// and memory maps (there are none: a file that is cut while it is mapped would end the process) are the same on every
/// system. Its error and warning handlers belong to this one file: nothing goes to the process-wide ones, which print.
/// Warnings are logged as component "ImageIO", at most MaxWarnings a file; TakeError() returns errors.
///
/// The destructor closes the file and logs errors of closing. One thread at a time may use an object.
class TiffFile
{
public:
    using Access = Platform::RandomAccessFile::Access;

    /// Opens \p path and, for reading, reads the first directory. Strips are left as they are in the file: libtiff's
    /// default cuts one large strip into several.
    ///
    /// A file that is read may make libtiff read only a small multiple of its own bytes, and allocate at once only a
    /// small multiple of its size: directories whose entries refer to the same bytes again and again, or lie about
    /// their length, fail instead of filling the memory.
    /// \throws std::runtime_error whose text is the reason.
    TiffFile(const std::wstring& path, Access access);

    /// Reads \p file, which is open for reading.
    /// \param path names it in messages.
    /// \throws std::runtime_error whose text is the reason.
    TiffFile(std::shared_ptr<BlockReader> file, const std::wstring& path);
    ~TiffFile();
    TiffFile(const TiffFile&) = delete;
    TiffFile& operator=(const TiffFile&) = delete;

    /// libtiff's handle, never null. It stays this object's.
    tiff* Handle() const noexcept { return m_tiff; }

    /// The file that is read.
    const std::shared_ptr<BlockReader>& File() const noexcept { return m_file; }

    /// The size of the file in bytes when it was opened.
    std::uint64_t Size() const noexcept { return m_size; }

    /// Why an entry of the current directory cannot be read although the directory names it, or the directory itself;
    /// empty if all is well. Every entry has to lie inside the file. Those that say what the pixels are, and the
    /// library's own, also have to be of a type and a number of values that libtiff takes. For a file that is read.
    const std::string& DirectoryFault();

    /// Makes the directory at \p offset the current one.
    /// \throws std::runtime_error whose text is the reason.
    void SelectPage(std::uint64_t offset);

    /// The record of the current directory as XML document; null if there is none. libtiff's own, until it reads
    /// another directory.
    const char* MetadataText() const noexcept;

    /// What is called while the file is read.
    ReadProgress& Reading() noexcept { return m_reading; }

    /// Called every few MiB while a file is written, with the number of bytes handed to the system so far. If it
    /// returns false or throws, this write and all later ones fail.
    using Progress = std::function<bool(std::uint64_t written)>;
    void SetProgress(Progress progress);

    /// Stops all writing, so that closing the file cannot complete it after a failure.
    void Abandon() noexcept { m_isAbandoned = true; }

    /// Throws the exception of the progress function, or std::runtime_error "Cancelled." if that returned false.
    void ThrowIfCancelled();

    /// Makes the next strip begin at \p offset if the file ends before it. For a file that is written.
    void ContinueAt(std::uint64_t offset) noexcept;

    /// The first error since the last call, with the system's reason where there is one; empty without an error.
    std::string TakeError();

private:
    struct Callbacks;

    TiffFile(std::shared_ptr<BlockReader> file, const std::wstring& path, Access access);
    std::string FindDirectoryFault();
    bool WriteInSteps(const unsigned char* bytes, std::uint64_t size) noexcept;
    void NoteError(const char* format, std::va_list arguments) noexcept;
    void NoteWarning(const char* format, std::va_list arguments) noexcept;

    std::shared_ptr<BlockReader> m_file; ///< Never null.
    std::string m_name;                  ///< The path for messages: FileSystem::ToDisplayText.
    std::uint64_t m_size;
    std::uint64_t m_position = 0;
    std::uint64_t m_readBudget;                  ///< Bytes that libtiff may still read.
    std::optional<std::string> m_directoryFault; ///< Of the current directory, once it was looked for.
    std::string m_error;
    int m_warnings = 0;
    ReadProgress m_reading;
    Progress m_progress;
    std::exception_ptr m_progressFailure;
    std::uint64_t m_written = 0;
    bool m_isAbandoned = false; ///< Nothing is written any more.
    /// Given to libtiff in place of the buffer of a whole strip that it would allocate. Uncompressed strips do not use
    /// it.
    std::array<unsigned char, 16> m_unusedBuffer{};
    tiff* m_tiff = nullptr;
};

} // namespace Ardo::Kiln::ImageIO
