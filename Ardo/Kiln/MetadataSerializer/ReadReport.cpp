#include "Ardo/Kiln/MetadataSerializer/ReadReport_p.h"

#include "Ardo/Kiln/Logger/ComponentLog_p.h"

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

/// At most 80 bytes, cut between characters, without line breaks.
std::string Shown(std::string_view name)
{
    constexpr std::size_t MaxLength = 80;
    std::string shown(name.substr(0, MaxLength));
    if (name.size() > MaxLength)
    {
        while (!shown.empty() && (static_cast<unsigned char>(name[shown.size()]) & 0xC0U) == 0x80U)
        {
            shown.pop_back();
        }
        shown += "...";
    }
    for (char& c : shown)
    {
        c = static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
    return shown;
}

} // namespace

void ReadReport::LeftOut(std::string_view what, std::string_view name, const std::string& place)
{
    constexpr std::size_t MaxLines = 20;
    if (++m_lines > MaxLines)
    {
        return;
    }
    static Logger::ComponentLog log("MetadataSerializer");
    if (m_lines == MaxLines)
    {
        log.Warning("Metadata: more is left out, not listed here");
        return;
    }
    log.Warning("Metadata: " + std::string(what) + " \"" + Shown(name) + "\" in \"" + Shown(place) + "\" is left out");
}

} // namespace Ardo::Kiln::MetadataSerializer
