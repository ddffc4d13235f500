#include "Ardo/Kiln/Platform/FileVersion.h"

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/VersionedLibrary.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <vector>

namespace Ardo::Kiln::Platform
{

namespace fs = std::filesystem;

namespace
{

/// Four bytes of the library at \p offset, least significant first.
struct Patch
{
    std::size_t offset;
    std::uint32_t value;
};

std::string Patched(std::string bytes, const std::vector<Patch>& patches)
{
    for (const Patch& patch : patches)
    {
        for (std::size_t i = 0; i < 4; ++i)
        {
            bytes[patch.offset + i] = static_cast<char>(patch.value >> (8 * i));
        }
    }
    return bytes;
}

} // namespace

TEST(FileVersionTest, IsReadFromTheVersionResource)
{
    const Support::ScopedTempDir folder;
    const std::string library = Support::VersionedLibrary({1, 0x2345, 0xFFFF, 4});
    const FileVersion version{1, 0x2345, 0xFFFF, 4};
    const struct
    {
        const char* name;
        std::vector<Patch> patches;
        bool hasVersion;
    } rows[] = {
        {"64 bits", {}, true},
        {"32 bits: the directories begin 16 bytes earlier",
         {{88, 0x10B}, {180, 16}, {196, 0}, {200, 0x1000}, {216, 0}},
         true},
        {"neither", {{88, 0x20C}}, false},
        {"no \"MZ\"", {{0, 0x5A4E}}, false},
        {"no \"PE\"", {{64, 0x14550}}, false},
        {"two directories, without that of the resources", {{196, 2}}, false},
        {"the resources' directory beyond the header", {{84, 120}}, false},
        {"no section", {{68, 0}}, false},
        {"the section elsewhere in memory", {{340, 0x2000}}, false},
        {"resources of another type", {{384, 17}}, false},
        {"a type that is no directory", {{388, 24}}, false},
        {"a language that is a directory", {{436, 0x80000000 + 72}}, false},
        {"a directory that is its own entry", {{412, 0x80000000}}, false},
        {"a resource that is too short", {{444, 91}}, false},
        {"a resource that ends behind the file", {{444, 93}}, false},
        {"another key", {{462, 'V' + ('S' << 16) + 1}}, false},
        {"another signature", {{496, 0xFEEF04BE}}, false},
    };
    for (const auto& row : rows)
    {
        Support::WriteFile(folder / "file", Patched(library, row.patches));
        EXPECT_EQ(ReadFileVersion(folder / "file"), row.hasVersion ? std::optional(version) : std::nullopt) << row.name;
    }
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const char* name : {"missing", "pipe", "."})
    {
        EXPECT_EQ(ReadFileVersion(folder / name), std::nullopt) << name;
    }
}

} // namespace Ardo::Kiln::Platform
