#include "Ardo/Kiln/MetadataSerializer/DocumentLines_p.h"

#include "Ardo/Kiln/MetadataSerializer/JsonScanner_p.h"
#include "Ardo/Kiln/MetadataSerializer/XmlScanner_p.h"

#include <algorithm>
#include <limits>
#include <map>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

/// Observer that follows the paths of the nodes and notes the lines of the findings.
class LineFinder : public XmlObserver
{
public:
    LineFinder(std::string_view text, SerializeType type) : m_text(text)
    {
        if (type == SerializeType::Xml)
        {
            m_path.push_back(NoChildYet); // the elements of the document itself
        }
    }

    void Want(NodePath path, DocumentFault& fault) { m_wanted.emplace(std::move(path), &fault); }

    void Element(std::size_t at)
    {
        Node(at);
        m_attributes = 0;
    }
    void Attribute(std::size_t at)
    {
        // In the tree, the attributes are the children of an element's first child.
        NodePath path = m_path;
        path.push_back(0);
        path.push_back(m_attributes++);
        Look(path, at);
    }
    void Comment(std::size_t at) { Node(at); }
    void Member(std::size_t at) { Node(at); }
    void Enter(std::size_t)
    {
        m_path.push_back(m_attributes > 0 ? 0 : NoChildYet);
        m_attributes = 0;
    }
    void Leave() { m_path.pop_back(); }
    void Fail(const char*, std::size_t) const {} // a document that has been read

private:
    static constexpr std::size_t NoChildYet =
        std::numeric_limits<std::size_t>::max(); ///< Incremented it is 0, the first child.

    void Node(std::size_t at)
    {
        ++m_path.back();
        Look(m_path, at);
    }

    void Look(const NodePath& path, std::size_t at)
    {
        const auto [first, last] = m_wanted.equal_range(path);
        if (first == last)
        {
            return;
        }
        m_line += static_cast<std::size_t>(std::count(m_text.begin() + static_cast<std::ptrdiff_t>(m_counted),
                                                      m_text.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
        m_counted = at;
        std::for_each(first, last, [this](const auto& wanted) { wanted.second->line = m_line; });
    }

    std::string_view m_text;
    std::multimap<NodePath, DocumentFault*> m_wanted;
    NodePath m_path; ///< Of the last node that began; its last index is the number of that node's siblings.
    std::size_t m_attributes = 0; ///< Of the last element that began.
    std::size_t m_line = 1;
    std::size_t m_counted = 0; ///< The offset up to which lines are counted.
};

/// The innermost text of this thread.
const TextBeingRead*& Current()
{
    thread_local const TextBeingRead* current = nullptr;
    return current;
}

} // namespace

void SetLines(const std::vector<ReadReport::Finding*>& findings, const Document& document)
{
    if (findings.empty())
    {
        return;
    }
    LineFinder finder(document.Text(), document.Type());
    for (ReadReport::Finding* finding : findings)
    {
        NodePath path = finding->path;
        path.insert(path.begin(), document.RootIndex());
        finder.Want(std::move(path), finding->fault);
    }
    if (document.Type() == SerializeType::Xml)
    {
        XmlScanner(document.Text(), finder).Scan();
    }
    else
    {
        JsonScanner(document.Text(), finder).Scan();
    }
}

TextBeingRead::TextBeingRead(const Document& document, const boost::property_tree::ptree& tree)
    : m_document(document), m_tree(tree), m_outer(Current())
{
    Current() = this;
}

TextBeingRead::~TextBeingRead()
{
    Current() = m_outer;
}

void TextBeingRead::SetLines(const std::vector<ReadReport::Finding*>& findings, const boost::property_tree::ptree& tree)
{
    const TextBeingRead* const current = Current();
    if (current != nullptr && &current->m_tree == &tree)
    {
        MetadataSerializer::SetLines(findings, current->m_document);
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
