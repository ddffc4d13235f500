#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include "Ardo/Kiln/MetadataSerializer/TreeReader_p.h"
#include "Ardo/Kiln/MetadataSerializer/TreeWriter_p.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <stdexcept>

#include <boost/property_tree/ptree.hpp>

namespace Ardo::Kiln::MetadataSerializer
{

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
    ReadReport report;
    TreeReader(tree, type, report).ReadRecord(*m_changeable);
}

} // namespace Ardo::Kiln::MetadataSerializer
