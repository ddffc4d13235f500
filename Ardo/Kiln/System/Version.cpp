#include "Ardo/Kiln/System/Version.h"

#include "Ardo/Kiln/Platform/FileVersion.h"
#include "Ardo/KilnVersion.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace Ardo::Kiln::System
{

std::optional<Version> Version::Parse(std::string_view text) noexcept
{
    Version version;
    const char* at = text.data();
    const char* const end = at + text.size();
    for (version.m_count = 1; version.m_count <= MaxNumbers; ++version.m_count)
    {
        const auto [next, error] = std::from_chars(at, end, version.m_numbers[version.m_count - 1]);
        if (error != std::errc())
        {
            return std::nullopt;
        }
        if (next == end)
        {
            return version;
        }
        if (*next != '.')
        {
            return std::nullopt;
        }
        at = next + 1;
    }
    return std::nullopt;
}

std::string Version::ToText() const
{
    return ToText(m_count);
}

std::string Version::ToText(int count) const
{
    std::string text = std::to_string(m_numbers[0]);
    for (int i = 1; i < std::clamp(count, 1, MaxNumbers); ++i)
    {
        text += "." + std::to_string(m_numbers[i]);
    }
    return text;
}

Version LibraryVersion() noexcept
{
    return Version(KILN_VERSION_MAJOR, KILN_VERSION_MINOR, KILN_VERSION_PATCH);
}

std::optional<Version> FileVersionOf(const std::filesystem::path& file)
{
    const auto numbers = Platform::ReadFileVersion(file);
    return numbers ? std::optional(Version((*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3])) : std::nullopt;
}

} // namespace Ardo::Kiln::System
