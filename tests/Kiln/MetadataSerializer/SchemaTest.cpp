#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <boost/property_tree/ptree.hpp>
#include <gmock/gmock.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using MetadataLib::Metadata;

/// Validates documents against the schema that is part of the product; answers what xmllint says of each.
std::vector<Support::ProcessResult> Validate(const std::vector<std::string>& documents)
{
    const Support::ScopedTempDir folder;
    std::vector<Support::ProcessResult> results;
    for (const std::string& document : documents)
    {
        Support::WriteFile(folder / "document.xml", document);
        results.push_back(Support::RunShell("xmllint --noout --schema " +
                                                Support::Quoted(KILN_SHARE "/ArdoMetadata.xsd") + " document.xml",
                                            folder.Path()));
    }
    return results;
}

std::string Xml(Metadata metadata)
{
    return Record(metadata).SerializeToString(SerializeType::Xml);
}

/// Counts the nodes below \p tree that could be left out, and leaves out number \p index.
bool LeaveOut(boost::property_tree::ptree& tree, int& index)
{
    for (auto node = tree.begin(); node != tree.end(); ++node)
    {
        if (index-- == 0)
        {
            tree.erase(node);
            return true;
        }
        if (LeaveOut(node->second, index))
        {
            return true;
        }
    }
    return false;
}

} // namespace

TEST(SchemaTest, WhatIsWrittenIsValid)
{
    std::vector<std::string> documents{Xml(Support::FullMetadata()), Xml(Support::MinimalMetadata()), Xml(Metadata())};
    Metadata odd = Support::FullMetadata();
    odd.Optics.Focus = -std::numeric_limits<double>::infinity();
    odd.Optics.Defocus = std::numeric_limits<double>::quiet_NaN();
    odd.GasInjectionSystems.front().Gases.clear();
    odd.Optics.Apertures.clear();
    odd.BinaryResult.PixelSize->X.Unit.reset();
    odd.Detectors.erase(odd.Detectors.begin(), odd.Detectors.end() - 1);
    documents.push_back(Xml(odd));
    // A record without one of its fields after the other: whatever can be read is written as a valid document.
    for (int left = 0;; left += 7)
    {
        Metadata full = Support::FullMetadata();
        boost::property_tree::ptree tree = Record(full).Serialize(SerializeType::Xml);
        int index = left;
        if (!LeaveOut(tree, index))
        {
            break;
        }
        Metadata metadata;
        try
        {
            Record(metadata).Deserialize(tree, SerializeType::Xml);
        }
        catch (const std::exception&)
        {
            continue; // a required one
        }
        documents.push_back(Xml(metadata));
    }
    ASSERT_GT(documents.size(), 30U);
    for (const Support::ProcessResult& result : Validate(documents))
    {
        EXPECT_EQ(result.status, 0) << result.error;
    }
}

TEST(SchemaTest, FaultsAreFoundWithTheirElement)
{
    const std::string full = Xml(Support::FullMetadata());
    const struct
    {
        std::string from;
        std::string to;
        std::string element; ///< Named in the message.
    } rows[] = {
        {"<SpotIndex>", "<SpotIndex>x", "SpotIndex"},
        {"<UserID>", "<Unknown/><UserID>", "Unknown"},
        {"<Manufacturer>Ardo</Manufacturer>", "", "InstrumentID"},
        {"<OperatingMode>STEM", "<OperatingMode>SEM", "OperatingMode"},
        {"<IlluminationOn>", "<IlluminationOn>yes", "IlluminationOn"},
        {"<Begin>", "<Begin>INF", "Begin"},
        {"<Guid>", "<Guid>0", "Guid"},
        {"unitPrefixPower=\"0\">0.5<", ">0.5<", "IntensityScale"},
        {"type=\"int64\"", "type=\"int128\"", "CustomProperty"},
        {"<ExposureTime>0.10000000000000001</ExposureTime>", "", "ExposureTime2"},
        {"T22:13:20.123Z", " 22:13", "FileDatetime"},
    };
    std::vector<std::string> documents;
    for (const auto& row : rows)
    {
        std::string document = full;
        ASSERT_NE(document.find(row.from), std::string::npos) << row.from;
        documents.push_back(document.replace(document.find(row.from), row.from.size(), row.to));
    }
    const auto results = Validate(documents);
    for (std::size_t i = 0; i < results.size(); ++i)
    {
        EXPECT_NE(results[i].status, 0) << rows[i].to;
        EXPECT_THAT(results[i].error, testing::HasSubstr("lement '" + rows[i].element + "'"));
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
