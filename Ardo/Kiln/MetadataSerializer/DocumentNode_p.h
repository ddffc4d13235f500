#pragma once

#include "Ardo/KilnExport.h"

#include <boost/property_tree/ptree_fwd.hpp>
#include <cstddef>
#include <iterator>
#include <memory_resource>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

/// A node of a document: what boost::property_tree::ptree has for an element, for the attributes of an element or for a
/// comment. It owns nothing, so that a document costs few allocations.
struct DocumentNode
{
    std::string_view name = {};
    std::string_view text = {};
    DocumentNode* firstChild = nullptr;
    DocumentNode* lastChild = nullptr;
    DocumentNode* next = nullptr; ///< The next child of the same node.
    std::size_t childCount = 0;

    /// The first child of that name, or null.
    const DocumentNode* Find(std::string_view child) const noexcept
    {
        const DocumentNode* node = firstChild;
        while (node != nullptr && node->name != child)
        {
            node = node->next;
        }
        return node;
    }
};

/// The children of a node, for a range-based for.
class ChildrenOf
{
public:
    explicit ChildrenOf(const DocumentNode& node) : m_first(node.firstChild) {}

    struct Iterator
    {
        using iterator_category = std::forward_iterator_tag;
        using difference_type = std::ptrdiff_t;
        using value_type = DocumentNode;
        using pointer = const DocumentNode*;
        using reference = const DocumentNode&;

        const DocumentNode& operator*() const { return *node; }
        Iterator& operator++()
        {
            node = node->next;
            return *this;
        }
        Iterator operator++(int)
        {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator&) const = default;

        const DocumentNode* node;
    };

    Iterator begin() const { return {m_first}; } // NOLINT(readability-identifier-naming): named by the language
    Iterator end() const { return {nullptr}; }   // NOLINT(readability-identifier-naming)

private:
    const DocumentNode* m_first;
};

/// The memory of the nodes of a document.
class KILN_EXPORT_FOR_TESTS DocumentNodes
{
public:
    DocumentNodes() : m_memory(FirstBlock) {}
    DocumentNodes(const DocumentNodes&) = delete;
    DocumentNodes& operator=(const DocumentNodes&) = delete;

    /// Appends an empty child to \p parent.
    /// \param name has to outlive the node.
    DocumentNode& Append(DocumentNode& parent, std::string_view name);

    /// Memory for \p size characters, which lives as long as the nodes.
    char* Text(std::size_t size) { return static_cast<char*>(m_memory.allocate(size, 1)); }

    /// A copy of \p text that lives as long as the nodes.
    std::string_view Copy(std::string_view text);

    /// Sets the text of \p tree, which has to outlive the nodes, and appends its children.
    void AppendTree(DocumentNode& node, const boost::property_tree::ptree& tree);

private:
    static constexpr std::size_t FirstBlock = 32 * 1024; ///< Enough for a usual record.

    std::pmr::monotonic_buffer_resource m_memory;
};

/// Sets the text of \p node, and appends its children to \p tree.
KILN_EXPORT_FOR_TESTS void AppendTo(boost::property_tree::ptree& tree, const DocumentNode& node);

} // namespace Ardo::Kiln::MetadataSerializer
