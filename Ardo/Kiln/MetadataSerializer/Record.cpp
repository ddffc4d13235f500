#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include "Ardo/Kiln/Exception/ErrorInfoContainer.h"
#include "Ardo/Kiln/Logger/ComponentLog.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentLines_p.h"
#include "Ardo/Kiln/MetadataSerializer/TreeReader_p.h"
#include "Ardo/Kiln/MetadataSerializer/TreeWriter_p.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <boost/exception/exception.hpp>
#include <boost/property_tree/ptree.hpp>
#include <stdexcept>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

void Log(const ReadReport& report)
{
    static Logger::ComponentLog log("MetadataSerializer");
    for (const DocumentFault& fault : report.LeftOut())
    {
        log.Warning("Metadata: " + ToText(fault));
    }
    if (report.Reason() != nullptr)
    {
        log.Write(Logger::SeverityLevel::error, "Metadata: " + ToText(*report.Reason()));
    }
}

/// Fills \p metadata from \p node and logs the findings.
/// \param setLines sets the lines of findings, where they are known.
template <typename SetLines>
void Read(const DocumentNode& node, SerializeType type, MetadataLib::Metadata* metadata, const SetLines& setLines)
{
    if (metadata == nullptr)
    {
        throw std::logic_error("Record: constant metadata cannot be read into");
    }
    ReadReport report(ReadReport::Extensions::Reported);
    try
    {
        TreeReader(node, type, report).ReadRecord(*metadata);
    }
    catch (const boost::exception& error)
    {
        setLines(report.All());
        Log(report);
        if (report.Reason() != nullptr)
        {
            Exception::GiveErrorInfoContainer(error);
            error << DocumentFaultInfo(*report.Reason());
        }
        throw;
    }
    setLines(report.All());
    Log(report);
}

} // namespace

Record::Record(MetadataLib::Metadata& metadata) : m_metadata(&metadata), m_changeable(&metadata) {}

Record::Record(const MetadataLib::Metadata& metadata) : m_metadata(&metadata), m_changeable(nullptr) {}

Record::~Record() = default;

boost::property_tree::ptree Record::Serialize(SerializeType type) const
{
    DocumentNodes nodes;
    DocumentNode root;
    Serialize(nodes, root, type);
    boost::property_tree::ptree tree;
    AppendTo(tree, root);
    return tree;
}

void Record::Serialize(DocumentNodes& nodes, DocumentNode& node, SerializeType type) const
{
    TreeWriter writer(nodes, node, type);
    VisitFields(*m_metadata, writer);
}

void Record::Deserialize(const boost::property_tree::ptree& tree, SerializeType type)
{
    DocumentNodes nodes;
    DocumentNode root;
    nodes.AppendTree(root, tree);
    Read(root, type, m_changeable, [&tree](const auto& findings) { TextBeingRead::SetLines(findings, tree); });
}

void Record::Deserialize(const Document& document)
{
    Read(document.Metadata(), document.Type(), m_changeable,
         [&document](const auto& findings) { SetLines(findings, document); });
}

} // namespace Ardo::Kiln::MetadataSerializer
