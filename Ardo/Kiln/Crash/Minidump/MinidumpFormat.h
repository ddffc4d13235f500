#pragma once

// The records of the published minidump file format, little-endian and without padding of their own: the header
// "minidumpapiset.h" gives those of Windows, and the readers of Linux dumps agree on the streams from 0x4767'0003 on.

#include <cstdint>

namespace Ardo::Kiln::Crash::MinidumpFormat
{

#pragma pack(push, 4)

struct Location
{
    std::uint32_t size;
    std::uint32_t position; ///< From the beginning of the file.
};

struct Header
{
    std::uint32_t signature;
    std::uint32_t version;
    std::uint32_t streamCount;
    std::uint32_t directoryPosition;
    std::uint32_t checksum;
    std::uint32_t time; ///< Seconds since 1970-01-01 UTC.
    std::uint64_t flags;
};

inline constexpr std::uint32_t Signature = 0x504D444D; // "MDMP"
inline constexpr std::uint32_t Version = 0xA793;

struct DirectoryEntry
{
    std::uint32_t type;
    Location location;
};

namespace StreamType
{
inline constexpr std::uint32_t ThreadList = 3;
inline constexpr std::uint32_t ModuleList = 4;
inline constexpr std::uint32_t MemoryList = 5;
inline constexpr std::uint32_t Exception = 6;
inline constexpr std::uint32_t SystemInfo = 7;
inline constexpr std::uint32_t Memory64List = 9;
inline constexpr std::uint32_t UnloadedModuleList = 14;
inline constexpr std::uint32_t MiscInfo = 15;
inline constexpr std::uint32_t MemoryInfoList = 16;
inline constexpr std::uint32_t ThreadInfoList = 17;
inline constexpr std::uint32_t ThreadNames = 24;
inline constexpr std::uint32_t LinuxCpuInfo = 0x47670003;
inline constexpr std::uint32_t LinuxProcStatus = 0x47670004;
inline constexpr std::uint32_t LinuxLsbRelease = 0x47670005;
inline constexpr std::uint32_t LinuxCommandLine = 0x47670006;
inline constexpr std::uint32_t LinuxAuxiliaryVector = 0x47670008;
inline constexpr std::uint32_t LinuxMaps = 0x47670009;
} // namespace StreamType

struct MemoryRange
{
    std::uint64_t start;
    Location location;
};

struct Thread
{
    std::uint32_t id;
    std::uint32_t suspendCount;
    std::uint32_t priorityClass;
    std::uint32_t priority;
    std::uint64_t threadBlock;
    MemoryRange stack;
    Location context;
};

struct FileVersion
{
    std::uint32_t signature;
    std::uint32_t structureVersion;
    std::uint32_t words[11];
};

struct Module
{
    std::uint64_t base;
    std::uint32_t size;
    std::uint32_t checksum;
    std::uint32_t time;
    std::uint32_t namePosition;
    FileVersion version;
    Location codeView;
    Location misc;
    std::uint64_t reserved[2];
};

inline constexpr std::uint32_t FileVersionSignature = 0xFEEF04BD;
inline constexpr std::uint32_t FileVersionStructure = 0x00010000;
inline constexpr std::uint32_t BuildIdSignature = 0x4270454C; // of a code-view record that holds an ELF build id

struct Exception
{
    std::uint32_t threadId;
    std::uint32_t padding;
    std::uint32_t code;
    std::uint32_t flags;
    std::uint64_t nested;
    std::uint64_t address;
    std::uint32_t parameterCount;
    std::uint32_t padding2;
    std::uint64_t parameters[15];
    Location context;
};

struct SystemInfo
{
    std::uint16_t architecture;
    std::uint16_t level;
    std::uint16_t revision;
    std::uint8_t processorCount;
    std::uint8_t productType;
    std::uint32_t majorVersion;
    std::uint32_t minorVersion;
    std::uint32_t buildNumber;
    std::uint32_t platform;
    std::uint32_t versionTextPosition;
    std::uint16_t suite;
    std::uint16_t reserved;
    std::uint64_t processorFeatures[3];
};

inline constexpr std::uint16_t ArchitectureAmd64 = 9;
inline constexpr std::uint8_t ProductWorkstation = 1;
inline constexpr std::uint32_t PlatformLinux = 0x8201;

struct Memory64ListHead
{
    std::uint64_t count;
    std::uint64_t position; ///< Of the bytes of the first range; those of the others follow.
};

struct Memory64Range
{
    std::uint64_t start;
    std::uint64_t size;
};

struct MiscInfo
{
    std::uint32_t size;
    std::uint32_t flags;
    std::uint32_t processId;
    std::uint32_t createTime; ///< Seconds since 1970-01-01 UTC.
    std::uint32_t userTime;   ///< Seconds.
    std::uint32_t systemTime; ///< Seconds.
};

inline constexpr std::uint32_t MiscProcessId = 1;
inline constexpr std::uint32_t MiscProcessTimes = 2;

struct MemoryInfoListHead
{
    std::uint32_t headSize;
    std::uint32_t entrySize;
    std::uint64_t count;
};

struct MemoryInfo
{
    std::uint64_t base;
    std::uint64_t allocationBase;
    std::uint32_t allocationProtection;
    std::uint32_t padding;
    std::uint64_t size;
    std::uint32_t state;
    std::uint32_t protection;
    std::uint32_t type;
    std::uint32_t padding2;
};

inline constexpr std::uint32_t MemoryCommitted = 0x1000;
inline constexpr std::uint32_t MemoryPrivate = 0x20000;
inline constexpr std::uint32_t MemoryMapped = 0x40000;

struct ListHead ///< Of UnloadedModuleList and ThreadInfoList.
{
    std::uint32_t headSize;
    std::uint32_t entrySize;
    std::uint32_t count;
};

struct ThreadInfo
{
    std::uint32_t id;
    std::uint32_t dumpFlags;
    std::uint32_t dumpError;
    std::uint32_t exitStatus;
    std::uint64_t createTime;
    std::uint64_t exitTime;
    std::uint64_t systemTime; ///< In units of 100 ns.
    std::uint64_t userTime;   ///< In units of 100 ns.
    std::uint64_t startAddress;
    std::uint64_t affinity;
};

struct ThreadName
{
    std::uint32_t id;
    std::uint64_t namePosition;
};

#pragma pack(pop)

static_assert(sizeof(Header) == 32 && sizeof(DirectoryEntry) == 12 && sizeof(MemoryRange) == 16);
static_assert(sizeof(Thread) == 48 && sizeof(Module) == 108 && sizeof(Exception) == 168);
static_assert(sizeof(SystemInfo) == 56 && sizeof(MiscInfo) == 24 && sizeof(MemoryInfo) == 48);
static_assert(sizeof(ThreadInfo) == 64 && sizeof(ThreadName) == 12);

} // namespace Ardo::Kiln::Crash::MinidumpFormat
