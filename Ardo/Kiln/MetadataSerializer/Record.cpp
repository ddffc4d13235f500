#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include "Ardo/Kiln/MetadataSerializer/TreeReader_p.h"
#include "Ardo/Kiln/MetadataSerializer/TreeWriter_p.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <boost/property_tree/ptree.hpp>

namespace Ardo::Kiln::MetadataSerializer
{

Record::Record(MetadataLib::Metadata& metadata) : m_metadata(metadata) {}

Record::~Record() = default;

boost::property_tree::ptree Record::Serialize(SerializeType type) const
{
    boost::property_tree::ptree tree;
    TreeWriter writer(tree, type);
    VisitFields(std::as_const(m_metadata), writer);
    return tree;
}

void Record::Deserialize(const boost::property_tree::ptree& tree, SerializeType type)
{
    ReadReport report;
    TreeReader(tree, type, report).ReadRecord(m_metadata);
}

} // namespace Ardo::Kiln::MetadataSerializer
