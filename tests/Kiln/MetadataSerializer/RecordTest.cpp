#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/LogCollector.h"

#include <boost/exception/get_error_info.hpp>
#include <boost/property_tree/ptree.hpp>
#include <gmock/gmock.h>

#include <functional>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using namespace MetadataLib;
using boost::property_tree::ptree;
using boost::property_tree::ptree_bad_data;
using boost::property_tree::ptree_bad_path;

/// A custom property "n".
ptree Property(const std::string& type, const std::string& value)
{
    ptree property;
    property.put("name", "n");
    property.put("value", value);
    property.put("type", type);
    return property;
}

ptree TreeOf(Metadata metadata, SerializeType type)
{
    return Record(metadata).Serialize(type);
}

Metadata FromTree(const ptree& tree, SerializeType type)
{
    Metadata metadata;
    Record(metadata).Deserialize(tree, type);
    return metadata;
}

/// Removes the first node at the end of the path.
void Erase(ptree& tree, const std::string& path)
{
    const auto dot = path.rfind('.');
    ptree& parent = dot == std::string::npos ? tree : tree.get_child(path.substr(0, dot));
    ASSERT_GT(parent.erase(path.substr(dot + 1)), 0U) << path;
}

std::vector<std::string> Words(const std::string& text)
{
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

std::vector<std::string> Names(const ptree& tree)
{
    std::vector<std::string> names;
    for (const auto& [name, child] : tree)
    {
        names.push_back(name);
    }
    return names;
}

} // namespace

TEST(RecordTest, EveryElementIsEitherRequiredOrMayBeMissing)
{
    Support::LogCollector log;
    log.AllowErrors("Metadata: ");
    // Each is removed in turn from a complete document.
    const auto required =
        Words("Core Core.Guid Instrument.Manufacturer Instrument.InstrumentID Instrument.ComputerName "
              "Acquisition Acquisition.AcquisitionDatetime Optics.TEMOperatingSubMode Optics.ObjectiveLensMode "
              "Optics.IlluminationMode Optics.HighMagnificationMode Optics.Apertures.Aperture.Number "
              "Optics.Apertures.Aperture.MechanismType Optics.Apertures.Aperture.Type "
              "EnergyFilterSettings.EntranceApertureType StageSettings StageSettings.StagePosition "
              "StageSettings.StagePosition.X ScanSettings ScanSettings.ScanSize ScanSettings.ScanSize.Height "
              "ScanSettings.ScanArea.Width VacuumProperties.VacuumMode "
              "GasInjectionSystems.Gis.Gases.Gas.GasType Detectors.AnalyticalDetector.DetectorName "
              "Detectors.ImagingDetector.Binning Detectors.ImagingDetector.Binning.Y "
              "Detectors.ImagingDetector.ReadoutArea Detectors.ImagingDetector.ExposureTime "
              "BinaryResult.ImageSize.X BinaryResult.PixelSize.Y BinaryResult.ReferenceTransformation.a23");
    const auto optional =
        Words("Core.Comment Instrument Optics Optics.OperatingMode Optics.Apertures Optics.BeamTilt "
              "EnergyFilterSettings StageSettings.StagePosition.Tilt StageSettings.StagePosition.Tilt.Alpha "
              "VacuumProperties GasInjectionSystems GasInjectionSystems.Gis.Gases Detectors "
              "Detectors.ImagingDetector.Shutters Detectors.ScanningDetector.CollectionAngleRange BinaryResult "
              "BinaryResult.ImageSize BinaryResult.PixelSize BinaryResult.IntensityScale Sample "
              "CustomPropertyGroup");
    for (const SerializeType type : Support::BothTypes)
    {
        const ptree complete = TreeOf(Support::FullMetadata(), type);
        for (const std::string& path : required)
        {
            ptree tree = complete;
            Erase(tree, path);
            EXPECT_THROW(FromTree(tree, type), ptree_bad_path) << path;
        }
        for (const std::string& path : optional)
        {
            ptree tree = complete;
            Erase(tree, path);
            const Metadata metadata = FromTree(tree, type);
            EXPECT_NE(metadata, Support::FullMetadata()) << path;
            EXPECT_EQ(FromTree(TreeOf(metadata, type), type), metadata) << path;
        }
    }
    for (const std::string part : {"unit", "unitPrefixPower", "value"})
    {
        ptree json = TreeOf(Support::FullMetadata(), SerializeType::Json);
        Erase(json, "BinaryResult.IntensityScale." + part);
        EXPECT_THROW(FromTree(json, SerializeType::Json), ptree_bad_path) << part;
    }
    ptree xml = TreeOf(Support::FullMetadata(), SerializeType::Xml);
    Erase(xml, "BinaryResult.IntensityScale.<xmlattr>.unit");
    EXPECT_THROW(FromTree(xml, SerializeType::Xml), ptree_bad_path);
}

TEST(RecordTest, TheMinimalModelWritesItsSectionsInOrderAndNoMore)
{
    for (const SerializeType type : Support::BothTypes)
    {
        const ptree tree = TreeOf(Support::MinimalMetadata(), type);
        EXPECT_THAT(Names(tree), testing::ElementsAre("Core", "Instrument", "Acquisition", "Optics",
                                                      "EnergyFilterSettings", "StageSettings", "ScanSettings",
                                                      "VacuumProperties", "BinaryResult", "Sample"));
        EXPECT_TRUE(tree.get_child("BinaryResult").empty());
        EXPECT_TRUE(tree.get_child("Optics.Apertures").empty());
        EXPECT_TRUE(tree.get_child("StageSettings.StagePosition.Tilt").empty());
    }
}

TEST(RecordTest, AMissingSectionLeavesItsFieldsAndListsAreAppended)
{
    ptree tree = TreeOf(Support::FullMetadata(), SerializeType::Xml);
    tree.erase("Sample");
    Metadata metadata = Support::FullMetadata();
    metadata.Sample.SampleID = "mine";
    Record(metadata).Deserialize(tree, SerializeType::Xml);
    EXPECT_EQ(metadata.Sample.SampleID, "mine");
    EXPECT_EQ(metadata.Detectors.size(), 2 * Support::FullMetadata().Detectors.size());
    EXPECT_EQ(metadata.CustomProperties, Support::FullMetadata().CustomProperties);
}

TEST(RecordTest, OrderAndCommentsDoNotMatterToTheReader)
{
    for (const SerializeType type : Support::BothTypes)
    {
        std::function<ptree(const ptree&)> shuffled = [&shuffled](const ptree& tree)
        {
            ptree result(tree.data());
            for (const auto& [name, child] : tree)
            {
                // Elements of one name keep their order: it is that of a list.
                const bool list = tree.count(name) > 1;
                list ? result.push_back({name, shuffled(child)}) : result.push_front({name, shuffled(child)});
                result.push_front({"<xmlcomment>", ptree("note")});
            }
            return result;
        };
        // Only detectors of different types change places.
        Metadata expected = Support::FullMetadata();
        DetectorList& detectors = expected.Detectors;
        detectors = {detectors[4], detectors[3], detectors[2], detectors[0], detectors[1]};
        EXPECT_EQ(FromTree(shuffled(TreeOf(Support::FullMetadata(), type)), type), expected);
    }
}

TEST(RecordTest, ApertureTypesKeepTheSpellingThatFilesCarry)
{
    Metadata metadata = Support::MinimalMetadata();
    metadata.Optics.Apertures.resize(2);
    metadata.Optics.Apertures[0].Type = "Circular";
    metadata.Optics.Apertures[1].Type = "circular";
    ptree tree = TreeOf(metadata, SerializeType::Xml);
    EXPECT_EQ(tree.get<std::string>("Optics.Apertures.Aperture.Type"), "Cicular");
    EXPECT_EQ(FromTree(tree, SerializeType::Xml), metadata);
    tree.put("Optics.Apertures.Aperture.Type", "Circular");
    EXPECT_EQ(FromTree(tree, SerializeType::Xml), metadata);
}

TEST(RecordTest, ADetectorNeedsATypeThatIsAnElementName)
{
    Support::LogCollector log;
    log.AllowErrors("Metadata: ");
    const auto with = [](DetectorPtr detector, std::optional<std::string> type)
    {
        Metadata metadata = Support::MinimalMetadata();
        detector->DetectorType = std::move(type);
        metadata.Detectors.push_back(std::move(detector));
        return metadata;
    };
    for (const SerializeType type : Support::BothTypes)
    {
        EXPECT_THROW(TreeOf(with(Detector(), std::nullopt), type), std::bad_optional_access);
        for (const char* name : {"", "a b", "1a", "a:b", "<xmlattr>", "a/b", "-a", "a\xFF", "a>", "\u00D7"})
        {
            EXPECT_THROW(TreeOf(with(Detector(), name), type), ptree_bad_data) << name;
        }
        EXPECT_THROW(TreeOf(with(ScanningDetector(), "ImagingDetector"), type), ptree_bad_data);
        for (const char* name : {"HAADF.1", "_-", "Écran", "\U00010000", "ScanningDetector"})
        {
            const Metadata metadata = with(Detector(), name);
            EXPECT_EQ(FromTree(TreeOf(metadata, type), type).Detectors[0]->DetectorType, name);
        }
        // A class that the type does not tell is lost, the detector is not.
        const Metadata camera = with(ImagingDetector(), "Ceta");
        EXPECT_EQ(TreeOf(camera, type).get<int>("Detectors.Ceta.Binning.X"), 1);
        EXPECT_EQ(FromTree(TreeOf(camera, type), type), with(Detector(), "Ceta"));

        ptree tree = TreeOf(with(Detector(), "A"), type);
        Erase(tree, "Detectors.A.DetectorType");
        EXPECT_THROW(FromTree(tree, type), std::bad_optional_access);
    }
}

TEST(RecordTest, ValuesThatDoNotConvertAreErrorsUnlessTheyAreOptional)
{
    ptree tree = TreeOf(Support::FullMetadata(), SerializeType::Xml);
    tree.put("Optics.Focus", "near");
    tree.put("Optics.SpotIndex", "2147483648");
    tree.put("Core.ParentGuid", "parent");
    tree.put("Detectors.AnalyticalDetector.BeginEnergy", "1e3");
    Support::LogCollector log;
    const Metadata metadata = FromTree(tree, SerializeType::Xml);
    EXPECT_THAT(log.Messages(), testing::UnorderedElementsAre(
                                    testing::HasSubstr("/Metadata/Optics/Focus: the value \"near\" is no number"),
                                    testing::HasSubstr("/Metadata/Optics/SpotIndex: the value \"2147483648\""),
                                    testing::HasSubstr("/Metadata/Core/ParentGuid: the value \"parent\" is no UUID"),
                                    testing::HasSubstr("/BeginEnergy: the value \"1e3\" is no whole number")));
    EXPECT_EQ(metadata.Optics.Focus, std::nullopt);
    EXPECT_EQ(metadata.Optics.SpotIndex, std::nullopt);
    EXPECT_EQ(metadata.Core.ParentGuid, std::nullopt);
    log.ExpectErrors({"/Guid: ", "/AcquisitionDatetime: ", "/StagePosition/X: ", "/ScanSize/Width: ", "/BeamTilt/X: ",
                      "/PixelSize/X/value: ", "/ReadoutArea/Width: "});
    for (const char* path : {"Core.Guid", "Acquisition.AcquisitionDatetime", "StageSettings.StagePosition.X",
                             "ScanSettings.ScanSize.Width", "Optics.BeamTilt.X", "BinaryResult.PixelSize.X",
                             "Detectors.ImagingDetector.ReadoutArea.Width"})
    {
        ptree broken = tree;
        broken.put(path, "x");
        EXPECT_THROW(FromTree(broken, SerializeType::Xml), ptree_bad_data) << path;
    }
}

TEST(RecordTest, WhereReadingStopsTravelsWithTheException)
{
    const auto read = [](std::string text, SerializeType type, const std::string& from, const std::string& to)
    {
        text.replace(text.find(from), from.size(), to);
        std::string told;
        std::string what;
        Support::LogCollector log;
        log.ExpectErrors({"Metadata: line "});
        try
        {
            Metadata metadata;
            Record(metadata).DeserializeFromString(text, type);
        }
        catch (const std::exception& error)
        {
            const auto* fault = boost::get_error_info<DocumentFaultInfo>(error);
            told = fault != nullptr ? ToText(*fault) : "nothing";
            what = error.what();
            EXPECT_EQ(ToText(FaultOf(error)), told);
            EXPECT_THAT(log.Messages(), testing::ElementsAre(testing::HasSubstr(told)));
            EXPECT_THAT(CheckDocument(text, type), testing::ElementsAre(*fault));
        }
        return what + " | " + told;
    };
    Metadata full = Support::FullMetadata();
    const std::string xml = Record(full).SerializeToString(SerializeType::Xml);
    const std::string json = Record(full).SerializeToString(SerializeType::Json);
    const std::string noDouble = std::string("conversion of data to type \"") + typeid(double).name() + "\" failed | ";
    const std::string inDetectors = "/Metadata/Detectors/ImagingDetector";
    EXPECT_EQ(read(xml, SerializeType::Xml, "<Begin>", "<Begin>x"),
              noDouble + "line 348: /Metadata/Detectors/ScanningDetector/CollectionAngleRange/Begin: "
                         "the value \"x0.029999999999999999\" is no number");
    EXPECT_EQ(read(json, SerializeType::Json, "\"Begin\": \"", "\"Begin\": \"x"),
              noDouble + "line 356: /Metadata/Detectors/ScanningDetector/CollectionAngleRange/Begin: "
                         "the value \"x0.029999999999999999\" is no number");
    EXPECT_EQ(read(xml, SerializeType::Xml, "<ExposureTime>0.10000000000000001</ExposureTime>", ""),
              "No such node (ExposureTime) | line 297: " + inDetectors + ": \"ExposureTime\" is missing");
    EXPECT_EQ(read(xml, SerializeType::Xml, "type=\"Electrostatic\"", ""),
              "No such node (type) | line 325: " + inDetectors + "/Shutters/Shutter: \"type\" is missing");
    EXPECT_EQ(read(xml, SerializeType::Xml, "unitPrefixPower=\"0\">0.5<", "\nunitPrefixPower=\"-\">0.5<"),
              std::string("conversion of data to type \"") + typeid(std::int32_t).name() +
                  "\" failed | line 380: /Metadata/BinaryResult/IntensityScale/unitPrefixPower: "
                  "the value \"-\" is no whole number of 32 bits");
    EXPECT_EQ(read(xml, SerializeType::Xml, "value=\"-9223372036854775808\"", "value=\"\""),
              "invalid stoll argument | line 425: /Metadata/CustomPropertyGroup/CustomProperties/CustomProperty: "
              "the value \"\" of the custom property \"int64\" is no int64 that can be held");
    EXPECT_EQ(read(json, SerializeType::Json, "\"DetectorType\": \"ImagingDetector\"", "\"Type\": \"\""),
              "bad optional access | line 299: " + inDetectors + ": a detector without \"DetectorType\"");
}

TEST(RecordTest, CustomPropertiesConvertByTheirType)
{
    Support::LogCollector log;
    log.AllowErrors("Metadata: ");
    const auto read = [](const std::string& type, const std::string& value) -> std::string
    {
        ptree tree = TreeOf(Support::MinimalMetadata(), SerializeType::Json);
        tree.put_child("CustomPropertyGroup.CustomProperties.CustomProperty", Property(type, value));
        try
        {
            const CustomPropertyMap properties = FromTree(tree, SerializeType::Json).CustomProperties;
            return properties.empty() ? "left out" : "kind " + std::to_string(properties.at("n").index());
        }
        catch (const std::logic_error& error)
        {
            return error.what();
        }
        catch (const ptree_bad_data&)
        {
            return "bad data";
        }
    };
    const struct
    {
        const char* type;
        const char* value;
        const char* outcome;
    } rows[] = {
        {"int32", "-2147483648", "kind 0"},
        {"int32", "x", "invalid stoi argument"},
        {"int32", "1.5", "invalid stoi argument"},
        {"int32", "2147483648", "stoi argument out of range"},
        {"uint32", "4294967295", "kind 1"},
        {"uint32", "-1", "stoul argument out of range"},
        {"long", "2147483648", "stol argument out of range"},
        {"long", " +7", "kind 2"},
        {"ulong", "", "invalid stoul argument"},
        {"int64", "-9223372036854775808", "kind 4"},
        {"int64", "9223372036854775808", "stoll argument out of range"},
        {"uint64", "18446744073709551615", "kind 5"},
        {"uint64", "18446744073709551616", "stoull argument out of range"},
        {"float", "1e40", "stof argument out of range"},
        {"float", "1e-60", "stof argument out of range"},
        {"float", "1e-40", "kind 6"},
        {"float", "one", "invalid stof argument"},
        {"double", "1e400", "stod argument out of range"},
        {"double", "1,5", "invalid stod argument"},
        {"double", "nan", "kind 7"},
        {"float", "NaN", "kind 6"},
        {"float", "-INF", "kind 6"},
        {"double", "Infinity", "kind 7"},
        {"float", "NaNo", "invalid stof argument"},
        {"string", "\n", "kind 8"},
        {"bool", "1", "kind 9"},
        {"bool", "yes", "bad data"},
        {"decimal", "1", "left out"},
        {"", "1", "left out"},
    };
    for (const auto& [type, value, outcome] : rows)
    {
        EXPECT_EQ(read(type, value), outcome) << type << ' ' << value;
    }
}

TEST(RecordTest, OfCustomPropertiesOfOneNameTheLastCounts)
{
    const Support::LogCollector log;
    ptree tree = TreeOf(Support::MinimalMetadata(), SerializeType::Json);
    for (const char* value : {"1", "2"})
    {
        tree.add_child("CustomPropertyGroup.CustomProperties.CustomProperty", Property("int32", value));
    }
    const CustomPropertyMap properties = FromTree(tree, SerializeType::Json).CustomProperties;
    ASSERT_EQ(properties.size(), 1U);
    EXPECT_EQ(std::get<std::int32_t>(properties.at("n")), 2);
    EXPECT_THAT(log.Messages(), testing::ElementsAre(testing::HasSubstr("\"n\" is given once more")));
}

} // namespace Ardo::Kiln::MetadataSerializer
