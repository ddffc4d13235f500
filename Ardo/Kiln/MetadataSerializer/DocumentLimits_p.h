#pragma once

#include "Ardo/Kiln/MetadataSerializer/Serializable.h"
#include "Ardo/Kiln/MetadataSerializer/XmlScanner_p.h"

#include <algorithm>
#include <boost/property_tree/exceptions.hpp>
#include <cstddef>
#include <string>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

/// Observer that checks a document against the limits. It throws the parser's errors.
template <typename Error>
class DocumentLimits : public XmlObserver
{
public:
    explicit DocumentLimits(std::string_view text) : m_text(text) {}

    void Element(std::size_t at)
    {
        m_attributes = 0;
        AddNode(at);
    }
    void Attribute(std::size_t at)
    {
        AddNode(at);
        Check(++m_attributes, Serializable::MaxAttributeCount, " attributes of an element", at);
    }
    void Comment(std::size_t at) { AddNode(at); }
    void Member(std::size_t at) { AddNode(at); }
    void Enter(std::size_t at)
    {
        if (++m_depth > Serializable::MaxDepth)
        {
            Fail("nested deeper than " + std::to_string(Serializable::MaxDepth) + " levels", at);
        }
    }
    void Leave() { m_depth -= m_depth > 0 ? 1U : 0U; }

    [[noreturn]] void Fail(const std::string& message, std::size_t at) const
    {
        const auto line = std::count(m_text.begin(), m_text.begin() + static_cast<std::ptrdiff_t>(at), '\n') + 1;
        BOOST_PROPERTY_TREE_THROW(Error(message, std::string(), static_cast<unsigned long>(line)));
    }

private:
    void Check(std::size_t count, std::size_t limit, const char* what, std::size_t at) const
    {
        if (count > limit)
        {
            Fail("more than " + std::to_string(limit) + what, at);
        }
    }

    void AddNode(std::size_t at) { Check(++m_nodes, Serializable::MaxNodeCount, " nodes", at); }

    std::string_view m_text;
    std::size_t m_depth = 0;
    std::size_t m_nodes = 0;
    std::size_t m_attributes = 0; ///< Of the current element.
};

} // namespace Ardo::Kiln::MetadataSerializer
