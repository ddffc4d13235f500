#include "Ardo/Kiln/Crash/Minidump/MinidumpReader.h"

#include <QString>

#include <algorithm>
#include <array>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace Ardo::Kiln::Crash
{

namespace
{

namespace Format = MinidumpFormat;

// More than a process can have, or than anybody can read.
constexpr std::uint64_t MaxStreams = 1000;
constexpr std::uint64_t MaxThreads = 10'000;
constexpr std::uint64_t MaxModules = 10'000;
constexpr std::uint64_t MaxRanges = 1'000'000;
constexpr std::uint64_t MaxText = 32'768; // UTF-16 units of one name
constexpr std::uint64_t MaxMaps = 8U << 20U;

constexpr std::uint64_t ContextSize = 1232;

std::string VersionText(const Format::FileVersion& version)
{
    if (version.signature != Format::FileVersionSignature)
    {
        return {};
    }
    std::string text;
    for (const std::uint32_t number :
         {version.words[0] >> 16U, version.words[0] & 0xFFFFU, version.words[1] >> 16U, version.words[1] & 0xFFFFU})
    {
        text += (text.empty() ? "" : ".") + std::to_string(number);
    }
    return text == "0.0.0.0" ? "" : text;
}

} // namespace

MinidumpReader::MinidumpReader(const std::filesystem::path& file)
    : m_file(file, Platform::RandomAccessFile::Access::Read)
{
    if (m_file.SizeWhenOpened() >= sizeof m_header)
    {
        m_header = Value<Format::Header>(0);
    }
    if (m_header.signature != Format::Signature || (m_header.version & 0xFFFFU) != Format::Version)
    {
        throw std::runtime_error("no minidump");
    }
    ReadStreams();
    ReadSystem();
    ReadThreads();
    ReadModules();
    ReadRanges();
}

bool MinidumpReader::ReadMemory(std::uint64_t address, void* bytes, std::size_t size) noexcept
{
    const auto after = std::ranges::upper_bound(m_ranges, address, {}, &Range::start);
    if (after == m_ranges.begin())
    {
        return false;
    }
    const Range& range = *std::prev(after);
    const std::uint64_t offset = address - range.start;
    const auto wanted = static_cast<std::int64_t>(size);
    return offset <= range.size && size <= range.size - offset &&
           m_file.ReadAt(range.position + offset, bytes, wanted) == wanted;
}

void MinidumpReader::Read(std::uint64_t position, void* bytes, std::uint64_t size)
{
    const std::uint64_t end = m_file.SizeWhenOpened();
    if (position > end || size > end - position)
    {
        throw std::runtime_error("the minidump is cut or damaged: a part lies behind its end");
    }
    const std::int64_t got = m_file.ReadAt(position, bytes, static_cast<std::int64_t>(size));
    if (got < 0)
    {
        throw std::system_error(m_file.LastError());
    }
    if (static_cast<std::uint64_t>(got) != size)
    {
        throw std::runtime_error("the minidump was changed while it was read");
    }
}

template <typename T>
T MinidumpReader::Value(std::uint64_t position)
{
    T value;
    Read(position, &value, sizeof value);
    return value;
}

template <typename T>
std::vector<T> MinidumpReader::Values(std::uint64_t position, std::uint64_t count, std::uint64_t most)
{
    if (count > most)
    {
        throw std::runtime_error("the minidump is damaged: a list of it has " + std::to_string(count) +
                                 " entries, more than a process can have");
    }
    std::vector<T> values(count);
    Read(position, values.data(), count * sizeof(T));
    return values;
}

/// The entries of a stream that begins with their number. Some writers align the entries to 8 bytes.
template <typename T>
std::vector<T> MinidumpReader::List(std::uint32_t stream, std::uint64_t most)
{
    const auto* const place = Stream(stream);
    if (place == nullptr)
    {
        return {};
    }
    const std::uint64_t count = Value<std::uint32_t>(place->position);
    const std::uint64_t head = place->size == 8 + count * sizeof(T) ? 8 : 4;
    return Values<T>(place->position + head, count, most);
}

const Format::Location* MinidumpReader::Stream(std::uint32_t type) const noexcept
{
    const auto found = m_streams.find(type);
    return found == m_streams.end() ? nullptr : &found->second;
}

std::string MinidumpReader::Text(std::uint32_t position)
{
    if (position == 0)
    {
        return {};
    }
    const auto size = Value<std::uint32_t>(position);
    // Many names may refer to one long text.
    const std::uint64_t count = std::min({size / std::uint64_t{2}, MaxText, m_textLeft});
    m_textLeft -= count;
    const auto units = Values<char16_t>(position + std::uint64_t{4}, count, MaxText);
    return QString::fromUtf16(units.data(), static_cast<int>(units.size())).toStdString();
}

std::string MinidumpReader::Text(const Format::Location& place, std::uint64_t most)
{
    std::string text(std::min<std::uint64_t>(place.size, most), '\0');
    Read(place.position, text.data(), text.size());
    return text;
}

std::vector<std::byte> MinidumpReader::Context(const Format::Location& place)
{
    if (place.size < ContextSize || !m_system || m_system->architecture != Format::ArchitectureAmd64)
    {
        return {};
    }
    return Values<std::byte>(place.position, ContextSize, ContextSize);
}

void MinidumpReader::ReadStreams()
{
    for (const auto& entry :
         Values<Format::DirectoryEntry>(m_header.directoryPosition, m_header.streamCount, MaxStreams))
    {
        m_streams.emplace(entry.type, entry.location);
    }
}

void MinidumpReader::ReadSystem()
{
    if (const auto* const system = Stream(Format::StreamType::SystemInfo))
    {
        m_system = Value<Format::SystemInfo>(system->position);
        m_systemText = Text(m_system->versionTextPosition);
    }
    if (const auto* const process = Stream(Format::StreamType::MiscInfo))
    {
        const auto record = Value<Format::MiscInfo>(process->position);
        m_processId = (record.flags & Format::MiscProcessId) != 0 ? record.processId : 0;
    }
    if (const auto* const maps = Stream(Format::StreamType::LinuxMaps))
    {
        m_maps = Text(*maps, MaxMaps);
    }
}

void MinidumpReader::ReadThreads()
{
    std::map<std::uint32_t, std::string> names;
    for (const auto& name : List<Format::ThreadName>(Format::StreamType::ThreadNames, MaxThreads))
    {
        if (name.namePosition <= UINT32_MAX)
        {
            names[name.id] = Text(static_cast<std::uint32_t>(name.namePosition));
        }
    }
    if (const auto* const exception = Stream(Format::StreamType::Exception))
    {
        m_exception = Value<Format::Exception>(exception->position);
    }
    for (const auto& thread : List<Format::Thread>(Format::StreamType::ThreadList, MaxThreads))
    {
        // The registers of the thread at fault are those of the fault, not those of its handler.
        const bool isAtFault = m_exception && m_exception->threadId == thread.id && m_exception->context.size > 0;
        m_threads.push_back({thread.id, names[thread.id], Context(isAtFault ? m_exception->context : thread.context)});
    }
}

void MinidumpReader::ReadModules()
{
    for (const auto& module : List<Format::Module>(Format::StreamType::ModuleList, MaxModules))
    {
        std::string buildId;
        if (module.codeView.size > sizeof Format::BuildIdSignature &&
            Value<std::uint32_t>(module.codeView.position) == Format::BuildIdSignature)
        {
            constexpr std::uint64_t MaxBuildId = 64;
            buildId = Text(module.codeView, MaxBuildId + sizeof Format::BuildIdSignature)
                          .substr(sizeof Format::BuildIdSignature);
        }
        m_modules.push_back(
            {Text(module.namePosition), module.base, module.size, VersionText(module.version), std::move(buildId)});
    }
}

void MinidumpReader::ReadRanges()
{
    for (const auto& range : List<Format::MemoryRange>(Format::StreamType::MemoryList, MaxRanges))
    {
        m_ranges.push_back({range.start, range.location.size, range.location.position});
    }
    if (const auto* const list = Stream(Format::StreamType::Memory64List))
    {
        const auto head = Value<Format::Memory64ListHead>(list->position);
        std::uint64_t position = head.position;
        for (const auto& range : Values<Format::Memory64Range>(list->position + sizeof head, head.count, MaxRanges))
        {
            m_ranges.push_back({range.start, range.size, position});
            position += range.size;
        }
    }
    const std::uint64_t end = m_file.SizeWhenOpened();
    if (std::ranges::any_of(m_ranges, [end](const Range& range)
                            { return range.position > end || range.size > end - range.position; }))
    {
        throw std::runtime_error("the minidump is cut or damaged: memory of the process lies behind its end");
    }
    std::ranges::sort(m_ranges, {}, &Range::start);
}

} // namespace Ardo::Kiln::Crash
