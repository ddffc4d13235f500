#pragma once

#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ardo::Kiln::MetadataSerializer
{

/// The place of a node in a tree: the index among its siblings on each level, beginning with a child of the root.
using NodePath = std::vector<std::size_t>;

/// At most 80 bytes of a text of the document, cut between characters, without line breaks.
std::string Shown(std::string_view text);

/// The faults that a reader leaves out, and the reason why it stops. Their number and length are bounded, for hostile
/// documents.
class ReadReport
{
public:
    /// A fault and the node that it is about, below the document's root element. The line is unknown until SetLines
    /// finds it in the text.
    struct Finding
    {
        NodePath path;
        DocumentFault fault;
    };

    /// Whether unknown content of detectors of other types, which later versions may define, is reported.
    enum class Extensions
    {
        Reported,
        Allowed
    };

    explicit ReadReport(Extensions extensions) : m_extensions(extensions) {}

    bool AllowsExtensions() const { return m_extensions == Extensions::Allowed; }

    /// False when another finding would be dropped, so that its texts need not be made.
    bool HasRoom();

    /// Adds a finding about something left out, while there is room.
    void LeftOut(Finding finding);

    /// Sets the reason why the reader stops, also without room.
    void Stopped(Finding finding) { m_reason = std::move(finding); }

    /// The reason why the reader stopped; null if it did not or the reason is unknown.
    const DocumentFault* Reason() const { return m_reason ? &m_reason->fault : nullptr; }

    /// All findings, the reason among them, for SetLines.
    std::vector<Finding*> All();

    /// The faults left out, in the order of lines as far as they are known; a last fault says if there are more.
    std::vector<DocumentFault> LeftOut() const;

private:
    Extensions m_extensions;
    std::vector<Finding> m_findings;
    std::optional<Finding> m_reason;
    bool m_hasMore = false; ///< Findings have been dropped.
};

} // namespace Ardo::Kiln::MetadataSerializer
