#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/FullMetadata.h"

#include <boost/property_tree/detail/xml_parser_error.hpp>
#include <boost/property_tree/exceptions.hpp>
#include <boost/property_tree/json_parser/error.hpp>
#include <boost/property_tree/ptree.hpp>
#include <gmock/gmock.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using MetadataLib::Metadata;

constexpr SerializeType BothTypes[] = {SerializeType::Xml, SerializeType::Json};

std::string DataFile(const std::string& name)
{
    std::ifstream file(KILN_TEST_DATA "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Write(Metadata metadata, SerializeType type)
{
    return Record(metadata).SerializeToString(type);
}

Metadata Read(const std::string& text, SerializeType type)
{
    Metadata metadata;
    Record(metadata).DeserializeFromString(text, type);
    return metadata;
}

} // namespace

TEST(DocumentTest, DocumentsAreThoseOnFileToTheByteAndReadBackEqual)
{
    const struct
    {
        const char* name;
        Metadata metadata;
    } documents[] = {{"full", Support::FullMetadata()}, {"minimal", Support::MinimalMetadata()}};
    for (const auto& [name, metadata] : documents)
    {
        for (const SerializeType type : BothTypes)
        {
            const std::string file = name + std::string(type == SerializeType::Xml ? ".xml" : ".json");
            SCOPED_TRACE(file);
            const std::string text = Write(metadata, type);
            EXPECT_EQ(text, DataFile(file));
            EXPECT_EQ(Read(text, type), metadata);
        }
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
