#include "Ardo/Kiln/MetadataSerializer/DocumentNode_p.h"

#include <algorithm>
#include <boost/property_tree/ptree.hpp>
#include <new>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Ardo::Kiln::MetadataSerializer
{

using boost::property_tree::ptree;

static_assert(std::is_trivially_destructible_v<DocumentNode>); // the memory is released without destructors

DocumentNode& DocumentNodes::Append(DocumentNode& parent, std::string_view name)
{
    auto* const node = new (m_memory.allocate(sizeof(DocumentNode), alignof(DocumentNode))) DocumentNode{.name = name};
    (parent.lastChild != nullptr ? parent.lastChild->next : parent.firstChild) = node;
    parent.lastChild = node;
    ++parent.childCount;
    return *node;
}

std::string_view DocumentNodes::Copy(std::string_view text)
{
    char* const copy = Text(text.size());
    std::copy(text.begin(), text.end(), copy);
    return {copy, text.size()};
}

void DocumentNodes::AppendTree(DocumentNode& node, const ptree& tree)
{
    node.text = tree.data();
    for (const auto& [name, child] : tree)
    {
        AppendTree(Append(node, name), child);
    }
}

void AppendTo(ptree& tree, const DocumentNode& node)
{
    tree.data() = node.text;
    for (const DocumentNode& child : ChildrenOf(node))
    {
        // Filled in place: the copy into the tree costs several allocations.
        const ptree::value_type empty(std::piecewise_construct, std::forward_as_tuple(child.name), std::tuple<>());
        AppendTo(tree.push_back(empty)->second, child);
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
