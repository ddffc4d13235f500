#pragma once

#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ardo::Kiln::MetadataSerializer
{

/// Where a node stands in a tree: the index among its siblings, from a child of the tree's root on.
using NodePath = std::vector<std::size_t>;

/// At most 80 bytes of a text of the document, cut between characters, without line breaks.
std::string Shown(std::string_view text);

/// What a reader leaves out, and why it stops. A hostile document costs a bounded number of faults of bounded length.
class ReadReport
{
public:
    /// A fault and the node that it is about, below the document's root element. The line is unknown until somebody who
    /// has the text looks for it, see SetLines.
    struct Finding
    {
        NodePath path;
        DocumentFault fault;
    };

    /// What is done about content that later versions may know: that of detectors of a type of their own.
    enum class Extensions
    {
        Reported,
        Allowed
    };

    explicit ReadReport(Extensions extensions) : m_extensions(extensions) {}

    bool AllowsExtensions() const { return m_extensions == Extensions::Allowed; }

    /// False when one more finding would not be kept: then it need not be made.
    bool HasRoom();

    /// Keeps what is left out, while there is room.
    void LeftOut(Finding finding);

    /// Keeps the reason why the reader stops, room or not.
    void Stopped(Finding finding) { m_reason = std::move(finding); }

    /// The reason why the reader stopped; null if it did not or the reason is unknown.
    const DocumentFault* Reason() const { return m_reason ? &m_reason->fault : nullptr; }

    /// All findings, the reason among them, for SetLines.
    std::vector<Finding*> All();

    /// What was left out, in the order of lines as far as they are known; a last fault says so if there was more.
    std::vector<DocumentFault> LeftOut() const;

private:
    Extensions m_extensions;
    std::vector<Finding> m_findings;
    std::optional<Finding> m_reason;
    bool m_hasMore = false; ///< Than is kept.
};

} // namespace Ardo::Kiln::MetadataSerializer
