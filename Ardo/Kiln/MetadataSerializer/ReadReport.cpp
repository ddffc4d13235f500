#include "Ardo/Kiln/MetadataSerializer/ReadReport_p.h"

#include <algorithm>

namespace Ardo::Kiln::MetadataSerializer
{

std::string Shown(std::string_view text)
{
    constexpr std::size_t MaxLength = 80;
    std::string shown(text.substr(0, MaxLength));
    if (text.size() > MaxLength)
    {
        while (!shown.empty() && (static_cast<unsigned char>(text[shown.size()]) & 0xC0U) == 0x80U)
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

bool ReadReport::HasRoom()
{
    const bool hasRoom = m_findings.size() < MaxDocumentFaults;
    m_hasMore = m_hasMore || !hasRoom;
    return hasRoom;
}

void ReadReport::LeftOut(Finding finding)
{
    if (HasRoom())
    {
        m_findings.push_back(std::move(finding));
    }
}

std::vector<ReadReport::Finding*> ReadReport::All()
{
    std::vector<Finding*> all;
    for (Finding& finding : m_findings)
    {
        all.push_back(&finding);
    }
    if (m_reason)
    {
        all.push_back(&*m_reason);
    }
    return all;
}

std::vector<DocumentFault> ReadReport::LeftOut() const
{
    std::vector<DocumentFault> faults;
    for (const Finding& finding : m_findings)
    {
        faults.push_back(finding.fault);
    }
    std::stable_sort(faults.begin(), faults.end(), [](const auto& a, const auto& b) { return a.line < b.line; });
    if (m_hasMore)
    {
        faults.push_back({0, std::string(), "more is left out, not listed here"});
    }
    return faults;
}

} // namespace Ardo::Kiln::MetadataSerializer
