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

/// Sets the lines of the findings, where they are known, and logs the findings.
void Log(ReadReport& report, const boost::property_tree::ptree& tree)
{
    TextBeingRead::SetLines(report.All(), tree);
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

} // namespace

Record::Record(MetadataLib::Metadata& metadata) : m_metadata(&metadata), m_changeable(&metadata) {}

Record::Record(const MetadataLib::Metadata& metadata) : m_metadata(&metadata), m_changeable(nullptr) {}

Record::~Record() = default;

boost::property_tree::ptree Record::Serialize(SerializeType type) const
{
    boost::property_tree::ptree tree;
    TreeWriter writer(tree, type);
    VisitFields(*m_metadata, writer);
    return tree;
}

void Record::Deserialize(const boost::property_tree::ptree& tree, SerializeType type)
{
    if (m_changeable == nullptr)
    {
        throw std::logic_error("Record: constant metadata cannot be read into");
    }
    ReadReport report(ReadReport::Extensions::Reported);
    try
    {
        TreeReader(tree, type, report).ReadRecord(*m_changeable);
    }
    catch (const boost::exception& error)
    {
        Log(report, tree);
        if (report.Reason() != nullptr)
        {
            Exception::GiveErrorInfoContainer(error);
            error << DocumentFaultInfo(*report.Reason());
        }
        throw;
    }
    Log(report, tree);
}

} // namespace Ardo::Kiln::MetadataSerializer
