#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"
#include "Ardo/Kiln/MetadataSerializer/EnumerationNames_p.h"
#include "Ardo/Kiln/MetadataSerializer/Fields_p.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using namespace MetadataLib;

/// Validates documents against the schema that is part of the product; answers what xmllint says against each.
std::vector<std::string> FaultsOf(const std::vector<std::string>& documents)
{
    const Support::ScopedTempDir folder;
    for (std::size_t i = 0; i < documents.size(); ++i)
    {
        Support::WriteFile(folder / (std::to_string(i) + ".xml"), documents[i]);
    }
    const std::string schema = Support::Quoted(KILN_SHARE "/ArdoMetadata.xsd");
    std::istringstream lines(
        Support::RunShell("xmllint --huge --noout --schema " + schema + " *.xml", folder.Path()).error);
    std::vector<std::string> faults(documents.size(), "not validated");
    for (std::string line; std::getline(lines, line);)
    {
        const std::size_t end = line.find(".xml");
        const std::size_t index = end != std::string::npos ? std::stoul(line) : documents.size();
        if (index < documents.size())
        {
            faults[index] = line.substr(end) == ".xml validates" ? "" : faults[index] + '\n' + line;
        }
    }
    return faults;
}

std::string Xml(const Metadata& metadata)
{
    return Record(metadata).SerializeToString(SerializeType::Xml);
}

/// Visitor that sets the fields of a record at random; an optional is given in half of all cases.
class RandomFields
{
public:
    explicit RandomFields(unsigned int seed) : m_random(seed) {}

    void operator()(auto, auto& value) { Set(value); }
    void Attribute(auto, auto& value) { Set(value); }
    void OwnText(auto, auto& value) { Set(value); }
    void MayBeMissing(auto, auto& value) { Set(value); }
    void Converted(auto, auto, auto& value) { Set(value); }
    void List(auto, auto, auto& items, WhenEmpty)
    {
        items.resize(m_random() % 3);
        std::for_each(items.begin(), items.end(), [this](auto& item) { Set(item); });
    }
    void Detectors(auto, DetectorList& detectors)
    {
        Append<AnalyticalDetector>(detectors, {"AnalyticalDetector"});
        Append<ImagingDetector>(detectors, {"ImagingDetector"});
        Append<ScanningDetector>(detectors, {"ScanningDetector"});
        Append<Detector>(detectors, {"Core", "Gases", "\u00C9.1-_", "\U00010000", std::string(100'000, 'x')});
    }
    void CustomProperties(auto, CustomPropertyMap& properties)
    {
        properties = {{Text(), Number<std::int32_t>()},
                      {Text(), Number<std::uint32_t>()},
                      {Text(), Long{Number<int>()}},
                      {Text(), ULong{Number<unsigned int>()}},
                      {Text(), Number<std::int64_t>()},
                      {Text(), Number<std::uint64_t>()},
                      {Text(), Number<float>()},
                      {Text(), Number<double>()},
                      {Text(), Text()},
                      {Text(), m_random() % 2 == 0}};
    }

private:
    template <typename T>
    void Append(DetectorList& detectors, const std::vector<std::string>& types)
    {
        T detector;
        Set(detector);
        detector.DetectorType = types[m_random() % types.size()];
        detectors.insert(detectors.end(), m_random() % 3, DetectorPtr(detector));
    }

    template <typename T>
    void Set(T& value)
    {
        if constexpr (NamedEnumeration<T>)
        {
            value = static_cast<T>(m_random() % (EnumerationNames<T>::Names.size() + 1));
        }
        else
        {
            VisitFields(value, *this);
        }
    }
    template <typename T>
    void Set(std::optional<T>& value)
    {
        value.reset();
        if (m_random() % 2 == 0)
        {
            Set(value.emplace());
        }
    }
    template <typename T>
    void Set(Rectangle<T>& value) // the extent has to fit the type
    {
        value = {Number<T>() / 2, Number<T>() / 2, Number<T>() / 2, Number<T>() / 2};
    }
    void Set(bool& value) { value = m_random() % 2 == 0; }
    void Set(std::int32_t& value) { value = Number<std::int32_t>(); }
    void Set(double& value) { value = Number<double>(); }
    void Set(std::string& value) { value = Text(); }
    void Set(Uuid& value) { std::generate(value.bytes.begin(), value.bytes.end(), std::ref(m_random)); }
    void Set(TimePoint& value)
    {
        constexpr std::int64_t Begin = -62'135'596'800'000; // of the year 1
        constexpr std::int64_t End = 253'402'300'799'999;   // of the year 9999
        const std::int64_t times[] = {Begin, End, std::uniform_int_distribution(Begin, End)(m_random)};
        value = TimePoint(std::chrono::milliseconds(times[m_random() % 3]));
    }

    template <typename T>
    T Number()
    {
        using Limits = std::numeric_limits<T>;
        const T numbers[] = {Limits::lowest(),    Limits::max(),        Limits::min(),      Limits::denorm_min(),
                             -Limits::infinity(), -Limits::quiet_NaN(), Limits::quiet_NaN()};
        const std::uint64_t bits = m_random();
        T any{};
        std::memcpy(&any, &bits, sizeof(any));
        const std::size_t index = m_random() % 14;
        return index < std::size(numbers) ? numbers[index] : any;
    }

    std::string Text()
    {
        const std::string parts[] = {"",          " ", "\t\r\n", "<&>\"']]>", "nan", "\u0085\u2028", "\uFEFF\uFFFD",
                                     "\U0010FFFF"};
        const auto part = [&] { return parts[m_random() % std::size(parts)]; };
        return part() + part() + part();
    }

    std::mt19937_64 m_random;
};

} // namespace

// `kiln validate` relies on it: the validator does not see a document that is just as the library writes its record.
TEST(SchemaTest, WhatIsWrittenIsValid)
{
    std::vector<std::string> documents{Xml(Support::FullMetadata()), Xml(Support::MinimalMetadata()), Xml(Metadata())};
    for (unsigned int seed = 0; seed < 200; ++seed)
    {
        Metadata metadata;
        RandomFields fields(seed);
        VisitFields(metadata, fields);
        documents.push_back(Xml(metadata));
        EXPECT_THAT(CheckDocument(documents.back(), SerializeType::Xml), testing::IsEmpty()) << seed;
    }
    EXPECT_THAT(FaultsOf(documents), testing::Each(""));
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
    const auto faults = FaultsOf(documents);
    for (std::size_t i = 0; i < faults.size(); ++i)
    {
        EXPECT_THAT(faults[i], testing::HasSubstr("lement '" + rows[i].element + "'")) << rows[i].to;
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
    const auto schema = FaultsOf(documents);
    for (std::size_t i = 0; i < documents.size(); ++i)
    {
        const auto faults = CheckDocument(documents[i], SerializeType::Xml);
        const Verdict verdict = rows[i].verdict;
        EXPECT_EQ(schema[i].empty(), verdict == Good || verdict == ForReader)
            << rows[i].from << " -> " << rows[i].to << '\n'
            << schema[i];
        EXPECT_EQ(faults.empty(), verdict == Good || verdict == ForSchema)
            << rows[i].from << " -> " << rows[i].to << '\n'
            << testing::PrintToString(faults);
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
