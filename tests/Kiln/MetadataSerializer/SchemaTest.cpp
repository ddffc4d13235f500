#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/LogCollector.h"
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
    Support::LogCollector log;
    log.AllowErrors("Metadata: ");
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
        {"T22:13:20.123Z", " 25:13", "FileDatetime"},
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

TEST(SchemaTest, ReaderAndSchemaAgreeButForWhatEachCannotSay)
{
    enum Verdict
    {
        Good,      ///< Valid, and read without loss.
        Bad,       ///< Neither.
        ForReader, ///< The schema has no word for what is wrong.
        ForSchema  ///< Nothing is lost on reading, but it is not the form in which records are written.
    };
    const std::string full = Xml(Support::FullMetadata());
    const auto element = [&full](const std::string& name)
    {
        const std::size_t begin = full.find("<" + name + ">");
        const std::string end = "</" + name + ">";
        return full.substr(begin, full.find(end, begin) + end.size() - begin);
    };
    const std::string property = "<CustomProperty name=\"n\" value=\"V\" type=\"T\"/></CustomProperties>";
    const auto custom = [&property](std::string type, std::string value)
    {
        std::string text = property;
        text.replace(text.find('T', text.find("type=")), 1, type);
        return text.replace(text.find('V'), 1, value);
    };
    const std::string time = "2023-11-14T22:13:20.123Z";
    const std::string properties = "</CustomProperties>";
    const std::string acquired = element("AcquisitionDatetime");
    const struct
    {
        std::string from;
        std::string to;
        Verdict verdict;
    } rows[] = {
        {"<Core>", "<Core>", Good},
        // What the writer always writes, and readers do without.
        {element("Instrument"), "", Good},
        {element("Optics"), "", Good},
        {element("EnergyFilterSettings"), "", Good},
        {element("VacuumProperties"), "", Good},
        {element("BinaryResult"), "", Good},
        {element("Sample"), "", Good},
        {element("Tilt"), "", Good},
        {element("Apertures"), "", Good},
        {element("Apertures"), "<Apertures/>", Good},
        {element("Gases"), "", Good},
        {element("GasInjectionSystems"), "<GasInjectionSystems/>", Good},
        {element("Detectors"), "<Detectors/>", Good},
        {element("Shutters"), "<Shutters/>", Good},
        {element("CustomProperties"), "", Good},
        {"rawdatatype=\"Int\"", "", Good},
        // What they insist on.
        {element("Core"), "", Bad},
        {element("Acquisition"), "", Bad},
        {element("StageSettings"), "", Bad},
        {element("ScanSettings"), "", Bad},
        {element("Guid"), "", Bad},
        {"unitPrefixPower=\"0\">0.5<", ">0.5<", Bad},
        {"type=\"int64\"", "", Bad},
        // Values.
        {element("SpotIndex"), "<SpotIndex> +3 </SpotIndex>", Good},
        {element("SpotIndex"), "<SpotIndex>3.0</SpotIndex>", Bad},
        {element("SpotIndex"), "<SpotIndex>2147483648</SpotIndex>", Bad},
        {element("AccelerationVoltage"), "<AccelerationVoltage>300 kV</AccelerationVoltage>", Bad},
        {element("AccelerationVoltage"), "<AccelerationVoltage/>", Bad},
        {element("AccelerationVoltage"), "<AccelerationVoltage>\n.5E+3\t</AccelerationVoltage>", Good},
        {element("AccelerationVoltage"), "<AccelerationVoltage>-INF</AccelerationVoltage>", Good},
        {element("AccelerationVoltage"), "<AccelerationVoltage>NaN</AccelerationVoltage>", Good},
        {element("AccelerationVoltage"), "<AccelerationVoltage>1e999</AccelerationVoltage>", ForReader},
        {element("AccelerationVoltage"), "<AccelerationVoltage>1e-999</AccelerationVoltage>", Good},
        {element("AccelerationVoltage"), "<AccelerationVoltage>0x10</AccelerationVoltage>", Bad},
        {element("IlluminationOn"), "<IlluminationOn>1</IlluminationOn>", Good},
        {element("IlluminationOn"), "<IlluminationOn>yes</IlluminationOn>", Bad},
        {element("OperatingMode"), "<OperatingMode>SEM</OperatingMode>", Bad},
        {element("OperatingMode"), "<OperatingMode><![CDATA[TEM]]><!-- c --></OperatingMode>", Good},
        {time, "2023-11-14", Good},
        {time, "2023-11-14T22:13", Good},
        {time, "2023-11-14 22:13:20.5+01:00", Good},
        {time, "2023-11-14T24:00:00Z", Good},
        {time, "yesterday", Bad},
        {time, "2023-11-14T22", Bad},
        {time, "2023-13-14T22:13:20Z", Bad},
        {time, "2023-11-14T22:13:60Z", Bad},
        {time, "1970-01-01x", Bad},
        {time, "2023-02-30T22:13:20Z", ForReader},
        // Custom properties.
        {properties, custom("int32", "x"), ForReader},
        {properties, custom("bool", "yes"), ForReader},
        {properties, custom("float", "1e99"), ForReader},
        {properties, custom("float", "INF"), Good},
        {properties, custom("double", "NaN"), Good},
        {properties, custom("complex", "1"), Bad},
        {properties, "<CustomProperty name=\"long\" value=\"1\" type=\"int32\"/></CustomProperties>", ForReader},
        {"rawdatatype=\"Int\"", "rawdatatype=\"Integer\"", ForSchema},
        // What is unknown, out of place or given twice.
        {"<UserID>", "<Unknown/><UserID>", Bad},
        {"<Core>", "<Core>text", Bad},
        {"<Apertures>", "<Apertures>text", Bad},
        {"<Core>", "<Core unknown=''>", Bad},
        {"<UserID>", "<UserID unknown=''>", Bad},
        {"<UserID>", "<UserID><b/>", Bad},
        {"<Metadata ", "<Metadata xsi:noNamespaceSchemaLocation='x.xsd' xmlns:a='b' ", Good},
        {"<Core>", "<!-- c --><?p?><Core>", Good},
        {element("Guid"), element("Guid") + element("Guid"), Bad},
        // Detectors of types that schema and reader do not know may hold anything beyond the four elements of all.
        {"<DetectorName>Screen", "<Inserted>maybe</Inserted><DetectorName>Screen", ForReader},
        {"<Detectors>", "<Detectors><Own><DetectorName/><DetectorType>Own</DetectorType><More a='b'>x</More></Own>",
         Good},
        {"<Detectors>", "<Detectors><Inserted><DetectorName/><DetectorType>Inserted</DetectorType></Inserted>", Good},
        {"<Detectors>", "<Detectors><Core><DetectorName/><DetectorType>Core</DetectorType></Core>", Good},
        {"<Detectors>", "<Detectors><X><DetectorName/><DetectorType>no name</DetectorType></X>", ForReader},
        {"<Detectors>", "<Detectors><X><DetectorName/></X>", ForReader},
        {"<Detectors>", "<Detectors><Metadata><DetectorName/><DetectorType>Metadata</DetectorType></Metadata>",
         ForSchema},
        // The order is that of the writer.
        {"<AcquisitionDatetime>", "<BeamType/><AcquisitionDatetime>", Bad}, // the second of two is left out
        {acquired + "\n        " + element("AcquisitionID"), element("AcquisitionID") + acquired, ForSchema},
    };
    std::vector<std::string> documents;
    for (const auto& row : rows)
    {
        std::string document = full;
        ASSERT_NE(document.find(row.from), std::string::npos) << row.from;
        documents.push_back(document.replace(document.find(row.from), row.from.size(), row.to));
    }
    const auto schema = Validate(documents);
    for (std::size_t i = 0; i < documents.size(); ++i)
    {
        const auto faults = CheckDocument(documents[i], SerializeType::Xml);
        const Verdict verdict = rows[i].verdict;
        EXPECT_EQ(schema[i].status == 0, verdict == Good || verdict == ForReader)
            << rows[i].from << " -> " << rows[i].to << '\n'
            << schema[i].error;
        EXPECT_EQ(faults.empty(), verdict == Good || verdict == ForSchema)
            << rows[i].from << " -> " << rows[i].to << '\n'
            << testing::PrintToString(faults);
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
