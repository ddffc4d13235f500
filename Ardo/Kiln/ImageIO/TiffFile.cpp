#include "Ardo/Kiln/ImageIO/TiffFile_p.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/TiffTags_p.h"
#include "Ardo/Kiln/Logger/ComponentLog.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <tiffio.h>

namespace Ardo::Kiln::ImageIO
{

namespace
{

constexpr int MaxWarnings = 16;
constexpr std::uint64_t MiB = std::uint64_t{1} << 20;

/// A valid file is read twice at most: its tables and its strips. The constant allows for repeated reads of small
/// files.
constexpr std::uint64_t ReadBudgetFactor = 4;
/// Tables of 16-bit numbers are widened to 64 bits, and decoders need some tables of their own.
constexpr std::uint64_t AllocationFactor = 8;

TIFFExtendProc g_earlierExtender = nullptr;

void ExtendTags(TIFF* tiff)
{
    if (tiff == nullptr)
    {
        throw std::runtime_error("Tiff instance does not exist.");
    }
    static const auto g_fields = []
    {
        std::array<TIFFFieldInfo, Tag::Descriptions.size()> fields{};
        std::ranges::transform(Tag::Descriptions, fields.begin(),
                               [](const Tag::Description& tag) -> TIFFFieldInfo
                               {
                                   // libtiff takes the name as a pointer to non-const text, but does not change it.
                                   return {tag.number, 1, 1, tag.type, FIELD_CUSTOM, 0, 0, const_cast<char*>(tag.name)};
                               });
        return fields;
    }();
    TIFFMergeFieldInfo(tiff, g_fields.data(), static_cast<std::uint32_t>(g_fields.size()));
    if (g_earlierExtender != nullptr)
    {
        g_earlierExtender(tiff);
    }
}

/// The message that libtiff wants to print, cut to a length that suits a log line.
std::string Format(const char* format, std::va_list arguments)
{
    std::array<char, 400> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    return text.data();
}

void Log(std::string_view text) noexcept
{
    static Logger::ComponentLog g_log("ImageIO");
    g_log.Warning(text);
}

tmsize_t AllocationLimit(std::uint64_t fileSize)
{
    constexpr std::uint64_t LargestFile = std::numeric_limits<tmsize_t>::max() / AllocationFactor - MiB;
    return static_cast<tmsize_t>(AllocationFactor * std::min(fileSize, LargestFile) + MiB);
}

/// True for the entries that are needed to read the image or its record correctly.
bool IsNeeded(std::uint16_t tag, TIFF* tiff)
{
    constexpr std::array Needed = {
        TIFFTAG_IMAGEWIDTH,      TIFFTAG_IMAGELENGTH,  TIFFTAG_BITSPERSAMPLE,   TIFFTAG_COMPRESSION,
        TIFFTAG_PHOTOMETRIC,     TIFFTAG_STRIPOFFSETS, TIFFTAG_SAMPLESPERPIXEL, TIFFTAG_ROWSPERSTRIP,
        TIFFTAG_STRIPBYTECOUNTS, TIFFTAG_PLANARCONFIG, TIFFTAG_TILEWIDTH,       TIFFTAG_TILELENGTH,
        TIFFTAG_TILEOFFSETS,     TIFFTAG_EXTRASAMPLES, TIFFTAG_TILEBYTECOUNTS,  TIFFTAG_SAMPLEFORMAT};
    std::uint16_t photometric = 0;
    switch (tag)
    {
    case TIFFTAG_COLORMAP: // libtiff ignores one that the image does not need
        return TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric) == 1 && photometric == PHOTOMETRIC_PALETTE;
    case TIFFTAG_PREDICTOR: // libtiff registers it only for compressions that use it
        return TIFFFindField(tiff, tag, TIFF_ANY) != nullptr;
    default:
        return std::ranges::find(Needed, tag) != Needed.end() ||
               std::ranges::find(Tag::Descriptions, tag, &Tag::Description::number) != Tag::Descriptions.end();
    }
}

bool HasTag(TIFF* tiff, std::uint16_t tag)
{
    // libtiff returns a field as up to three numbers or pointers.
    std::array<std::uint64_t, 4> values{};
    return TIFFGetField(tiff, tag, values.data(), values.data() + 1, values.data() + 2, values.data() + 3) == 1;
}

} // namespace

void InstallTagExtender()
{
    static std::once_flag g_once;
    std::call_once(g_once, [] { g_earlierExtender = TIFFSetTagExtender(&ExtendTags); });
}

std::string WithReason(std::string text, const std::string& reason)
{
    if (!reason.empty())
    {
        text += " (" + reason + ")";
    }
    return text;
}

/// The callbacks of libtiff. No exception may leave them, because they are called from C code.
struct TiffFile::Callbacks
{
    static TiffFile& File(thandle_t handle) { return *static_cast<TiffFile*>(handle); }

    static tmsize_t Read(thandle_t handle, void* bytes, tmsize_t size) noexcept
    {
        TiffFile& file = File(handle);
        if (size < 0 || static_cast<std::uint64_t>(size) > file.m_readBudget)
        {
            return 0;
        }
        const std::int64_t count = file.m_reading.ReadAt(*file.m_file, file.m_position, bytes, size);
        if (count > 0)
        {
            file.m_position += static_cast<std::uint64_t>(count);
            file.m_readBudget -= static_cast<std::uint64_t>(count);
        }
        return static_cast<tmsize_t>(count);
    }

    static tmsize_t Write(thandle_t handle, void* bytes, tmsize_t size) noexcept
    {
        return File(handle).WriteInSteps(static_cast<const unsigned char*>(bytes), static_cast<std::uint64_t>(size))
                   ? size
                   : -1;
    }

    static toff_t Seek(thandle_t handle, toff_t offset, int origin) noexcept
    {
        // Arithmetic modulo 2^64 also gives a negative step. No file is large enough to overflow.
        TiffFile& file = File(handle);
        const std::uint64_t from = origin == SEEK_END ? file.m_size : origin == SEEK_CUR ? file.m_position : 0;
        constexpr auto MaxOffset = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
        if (from + offset > MaxOffset)
        {
            return static_cast<toff_t>(-1);
        }
        file.m_position = from + offset;
        return file.m_position;
    }

    static toff_t Size(thandle_t handle) noexcept { return File(handle).m_size; }

    /// Does nothing: the file is closed with its object, after libtiff's last message.
    static int Close(thandle_t) noexcept { return 0; }

    static int Error(TIFF*, void* user, const char*, const char* format, std::va_list arguments) noexcept
    {
        File(user).NoteError(format, arguments);
        return 1; // handled: not passed on to the process-wide handler
    }

    static int Warning(TIFF*, void* user, const char*, const char* format, std::va_list arguments) noexcept
    {
        File(user).NoteWarning(format, arguments);
        return 1;
    }
};

TiffFile::TiffFile(const std::wstring& path, Access access)
    : TiffFile(
          std::make_shared<BlockReader>(std::make_unique<Platform::RandomAccessFile>(FileSystem::ToPath(path), access)),
          path, access)
{
}

TiffFile::TiffFile(std::shared_ptr<BlockReader> file, const std::wstring& path)
    : TiffFile(std::move(file), path, Access::Read)
{
}

TiffFile::TiffFile(std::shared_ptr<BlockReader> file, const std::wstring& path, Access access)
    : m_file(std::move(file)),
      m_name(FileSystem::ToDisplayText(FileSystem::ToPath(path))),
      m_size(m_file->SizeWhenOpened()),
      m_readBudget(access == Access::Read ? ReadBudgetFactor * std::min(m_size, std::uint64_t{1} << 60) + MiB
                                          : std::numeric_limits<std::uint64_t>::max())
{
    InstallTagExtender();

    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                               &TIFFOpenOptionsFree);
    if (options == nullptr)
    {
        throw std::bad_alloc();
    }
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &Callbacks::Error, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &Callbacks::Warning, this);
    if (access == Access::Read)
    {
        TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), AllocationLimit(m_size));
    }
    // m: no memory map, c: strips as they are in the file
    m_tiff = TIFFClientOpenExt(m_name.c_str(), access == Access::Read ? "rmc" : "w", this, &Callbacks::Read,
                               &Callbacks::Write, &Callbacks::Seek, &Callbacks::Close, &Callbacks::Size, nullptr,
                               nullptr, options.get());
    if (m_tiff == nullptr)
    {
        std::string error = TakeError();
        throw std::runtime_error(error.empty() ? "Not a TIFF file" : std::move(error));
    }
    if (access == Access::Replace)
    {
        TIFFWriteBufferSetup(m_tiff, m_unusedBuffer.data(), static_cast<tmsize_t>(m_unusedBuffer.size()));
    }
}

TiffFile::~TiffFile()
{
    m_error.clear();
    TIFFClose(m_tiff);
    if (!m_error.empty() && !m_isAbandoned) // the error of an abandoned file has been reported before
    {
        Log(m_name + ": error while closing: " + m_error);
    }
}

const std::string& TiffFile::DirectoryFault()
{
    if (!m_directoryFault)
    {
        m_directoryFault = FindDirectoryFault();
    }
    return *m_directoryFault;
}

std::string TiffFile::FindDirectoryFault()
try
{
    for (const auto& entry : TiffDirectoryReader(*m_file).At(TIFFCurrentDirOffset(m_tiff)).entries)
    {
        if (!entry.isInside)
        {
            return entry.BeyondEnd();
        }
        // libtiff takes a default for an entry without values. The text of a private tag may be empty.
        constexpr std::uint16_t FirstPrivateTag = 32768; // TIFF 6.0, section 2
        const bool isEmpty = entry.count == 0 && entry.tag < FirstPrivateTag;
        if (IsNeeded(entry.tag, m_tiff) && (isEmpty || !HasTag(m_tiff, entry.tag)))
        {
            return entry.NotReadable();
        }
    }
    return {};
}
catch (const std::runtime_error& error)
{
    return error.what();
}

void TiffFile::SelectPage(std::uint64_t offset)
{
    m_directoryFault.reset();
    if (TIFFSetSubDirectory(m_tiff, offset) != 1)
    {
        throw std::runtime_error(TakeError());
    }
}

void TiffFile::SetProgress(Progress progress)
{
    m_progress = std::move(progress);
}

void TiffFile::ThrowIfCancelled()
{
    if (m_progressFailure != nullptr)
    {
        std::rethrow_exception(std::exchange(m_progressFailure, nullptr));
    }
}

bool TiffFile::WriteInSteps(const unsigned char* bytes, std::uint64_t size) noexcept
try
{
    constexpr std::uint64_t Step = 8 * MiB; // large enough to cost little, small enough for visible progress
    for (std::uint64_t done = 0; done < size && !m_isAbandoned;)
    {
        const std::uint64_t count = m_progress ? std::min(size - done, Step) : size - done;
        m_isAbandoned = m_file->File().WriteAt(m_position, bytes + done, static_cast<std::int64_t>(count)) < 0;
        if (!m_isAbandoned)
        {
            done += count;
            m_written += count;
            m_position += count;
            m_size = std::max(m_size, m_position);
            if (m_progress && !m_progress(m_written))
            {
                throw std::runtime_error("Cancelled.");
            }
        }
    }
    return !m_isAbandoned;
}
catch (...)
{
    m_progressFailure = std::current_exception();
    m_isAbandoned = true;
    return false;
}

void TiffFile::ContinueAt(std::uint64_t offset) noexcept
{
    // The gap need not be written: the file system makes it when something is written behind it.
    m_size = std::max(m_size, offset);
}

const char* TiffFile::MetadataText() const noexcept
{
    char* text = nullptr;
    return TIFFGetField(m_tiff, Tag::XmlMetadata, &text) == 1 ? text : nullptr;
}

std::string TiffFile::TakeError()
{
    return std::exchange(m_error, {});
}

void TiffFile::NoteError(const char* format, std::va_list arguments) noexcept
try
{
    if (m_error.empty()) // the first one is the cause of the others
    {
        m_error = Format(format, arguments);
        if (const std::string name = m_name + ": "; m_error.starts_with(name))
        {
            m_error.erase(0, name.size()); // whoever shows the error names the file
        }
        if (const std::error_code reason = m_file->LastError())
        {
            m_error += ": " + reason.message();
        }
    }
}
catch (...) // no memory for the text; libtiff's result still reports the failure
{
}

void TiffFile::NoteWarning(const char* format, std::va_list arguments) noexcept
try
{
    ++m_warnings;
    if (m_warnings <= MaxWarnings)
    {
        Log(m_name + ": " + Format(format, arguments));
    }
    else if (m_warnings == MaxWarnings + 1)
    {
        Log(m_name + ": further warnings are left out");
    }
}
catch (...) // a lost warning must not make the call fail
{
}

} // namespace Ardo::Kiln::ImageIO
