#include "Ardo/Kiln/MetadataSerializer/DocumentText_p.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/MetadataSerializer/XmlTree_p.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/NotFinite.h"
#include "tests/Support/Process.h"

#include <boost/property_tree/detail/xml_parser_error.hpp>
#include <boost/property_tree/exceptions.hpp>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using MetadataLib::Metadata;

std::string Write(const Metadata& metadata, SerializeType type)
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

TEST(DocumentTest, ConstantMetadataIsNotReadInto)
{
    const Metadata metadata;
    EXPECT_THROW(Record(metadata).DeserializeFromString(Write(metadata, {}), {}), std::logic_error);
}

TEST(DocumentTest, DocumentsAreThoseOnFileToTheByteAndReadBackEqual)
{
    const struct
    {
        const char* name;
        Metadata metadata;
    } documents[] = {{"full", Support::FullMetadata()}, {"minimal", Support::MinimalMetadata()}};
    for (const auto& [name, metadata] : documents)
    {
        for (const SerializeType type : Support::BothTypes)
        {
            const std::string file = name + std::string(type == SerializeType::Xml ? ".xml" : ".json");
            SCOPED_TRACE(file);
            const std::string text = Write(metadata, type);
            EXPECT_EQ(text, Support::ReadFile(KILN_TEST_DATA "/" + std::string(file)));
            EXPECT_EQ(Read(text, type), metadata);
        }
    }
}

TEST(DocumentTest, XmlBecomesTheSameTreeOrErrorAsInThePropertyTreeLibrary)
{
    using boost::property_tree::ptree;
    const auto outcome = [](const auto& read)
    {
        std::pair<ptree, std::string> result;
        try
        {
            read(result.first);
        }
        catch (const boost::property_tree::xml_parser_error& error)
        {
            result = {ptree(), error.message() + ", line " + std::to_string(error.line())};
        }
        return result;
    };
    const struct
    {
        std::string text;
        const char* refusal = nullptr; ///< Of text that the library reads although it is not well-formed.
    } documents[] = {{Support::ReadFile(KILN_TEST_DATA "/full.xml")},
                     {Support::ReadFile(KILN_TEST_DATA "/minimal.xml")},
                     {""},
                     {"<a/><b/>", "more than one root element"},
                     {"\xEF\xBB\xBF<?xml version='1.0'?><!DOCTYPE a>\n<!-- before --><a> \n </a>\n"},
                     {"<!DOCTYPE a [<!ENTITY e 'x'>]><a/>", "a document type declaration"},
                     {"<a> 1 <b>\t2\r\n</b> 3 <![CDATA[ <4> &amp; ]]><!-- 5 --> 6\n<c/><?pi 7?> 8 </a>"},
                     {"<a><![CDATA[]]> <![CDATA[ ]]><!----><b>&#32;</b><c>1<d/>2<e>3<f/>4</e>5</c></a>"},
                     {"<a x='' y=' &lt;&#10;&quot;\t' n:z=\"'\"><!----><xmlattr/><xmlcomment>c</xmlcomment></a>"},
                     {"<a x='1' x='2'/>", "an attribute given twice"},
                     {"<a>&lt;&gt;&amp;&apos;&quot;&#65;&#x7FF;&#x20AC;&#xFFFD;&#x1F52C;&#128;b</a>"},
                     {"<a>&e;</a>", "a reference to an unknown entity"},
                     {"<a></b>", "mismatched end tag"},
                     {"<a-rather-long.name/>"},
                     {"<a\n>\n<b x></a>"},
                     {"<a>\n</a"},
                     {"<a/>\nb"},
                     {"<a><![CDATA[1"},
                     {"<a x='1"},
                     {"<!-- "},
                     {"< a/>"},
                     {"<a"},
                     {"<a>\n<b>"}};
    for (const auto& [text, refusal] : documents)
    {
        const auto expected = outcome(
            [&](ptree& tree)
            {
                std::istringstream stream(text);
                boost::property_tree::read_xml(stream, tree);
            });
        const auto actual = outcome(
            [&](ptree& tree)
            {
                DocumentNodes nodes;
                DocumentNode root;
                ParseXml(text, nodes, root);
                AppendTo(tree, root);
            });
        EXPECT_TRUE(actual.first == (refusal != nullptr ? ptree() : expected.first)) << text;
        EXPECT_THAT(actual.second, testing::StartsWith(refusal != nullptr ? refusal : expected.second)) << text;
        EXPECT_EQ(actual.second.empty(), refusal == nullptr && expected.second.empty()) << text;
    }
}

TEST(DocumentTest, TextIsThatOfThePropertyTreesWriters)
{
    for (const std::string& json :
         {std::string(R"({"Metadata":{"<xmlattr>":{"a":"<>&'\"","b":"  "},"c":" ","d":{},"e":{"<xmlattr>":{"f":"1"}},
                          "g":{"h":"  i ","j":{"k":{"l":"","m":"\u00e9\u20ac"}}}}})"),
          std::string(
              R"({"":"","a":["1",{"b":["",""]}],"c":[],"d":"\u0001\u001f/\\\"\b\f\n\r\t\u007f","e":{"f":{}}})")})
    {
        boost::property_tree::ptree tree;
        std::istringstream stream(json);
        boost::property_tree::read_json(stream, tree);
        DocumentNodes nodes;
        DocumentNode document;
        nodes.AppendTree(document, tree);
        std::ostringstream expected;
        boost::property_tree::write_json(expected, tree);
        EXPECT_EQ(JsonText(document), expected.str());
        if (tree.count("Metadata") > 0)
        {
            tree.put("Metadata.g", "text beside elements"); // which JSON cannot hold
            DocumentNode changed;
            nodes.AppendTree(changed, tree);
            expected.str({});
            boost::property_tree::write_xml(
                expected, tree, boost::property_tree::xml_writer_make_settings<std::string>(' ', 4, "utf-8"));
            EXPECT_EQ(XmlText(changed), expected.str());
        }
    }
}

TEST(DocumentTest, AnyTextComesBackFromEitherSyntaxAndAlsoFromStandardReaders)
{
    for (const char* text : {"",    " ",        "   ",           "\n",           "\r",         "\t \n",    "a\r\nb",
                             " a ", "\"'&<>",   "]]>",           "&amp;",        "&#65;",      "<b>x</b>", "\\u0041",
                             "/",   "<!-- -->", "e\u0301\u0302", "\xEF\xBB\xBF", "\U0001F52C", "\x7F"})
    {
        Metadata metadata = Support::MinimalMetadata();
        metadata.Core.Comment = text;
        metadata.BinaryResult.PixelSize = MetadataLib::PixelSizeRecord{{1.0, text, 0}, {2.0, std::nullopt, {}}};
        metadata.CustomProperties[text] = text;
        for (const SerializeType type : Support::BothTypes)
        {
            EXPECT_EQ(Read(Write(metadata, type), type), metadata) << text;
        }
    }
    Metadata metadata = Support::MinimalMetadata();
    metadata.Core.Comment = "a\tb\r\nc";
    metadata.CustomProperties["\t\r\n"] = 1;
    const std::string xml = Write(metadata, SerializeType::Xml);
    EXPECT_THAT(xml, testing::HasSubstr("<Comment>a\tb&#13;\nc</Comment>"));
    EXPECT_THAT(xml, testing::HasSubstr("name=\"&#9;&#13;&#10;\""));
}

TEST(DocumentTest, TextThatADocumentCannotHoldIsRefusedWithItsPlace)
{
    const struct
    {
        std::string text;
        const char* message; ///< Empty where JSON can hold the text.
        bool json;
    } rows[] = {
        {"a\x01", "\"/Metadata/Core/Comment\" holds the character U+0001, which XML cannot hold", true},
        {std::string("a\0b", 3), "\"/Metadata/Core/Comment\" holds the character U+0000, which XML cannot hold", true},
        {"\uFFFE", "\"/Metadata/Core/Comment\" holds the character U+FFFE, which XML cannot hold", true},
        {"\xC3", "\"/Metadata/Core/Comment\" holds bytes that are not UTF-8", false},
        {"\xED\xA0\x80", "\"/Metadata/Core/Comment\" holds bytes that are not UTF-8", false},
        {"\xC0\xAF", "\"/Metadata/Core/Comment\" holds bytes that are not UTF-8", false},
    };
    for (const auto& [text, message, json] : rows)
    {
        Metadata metadata = Support::MinimalMetadata();
        metadata.Core.Comment = text;
        for (const SerializeType type : Support::BothTypes)
        {
            if (type == SerializeType::Json && json)
            {
                EXPECT_EQ(Read(Write(metadata, type), type), metadata);
                continue;
            }
            try
            {
                Write(metadata, type);
                ADD_FAILURE() << message;
            }
            catch (const boost::property_tree::ptree_bad_data& error)
            {
                EXPECT_STREQ(error.what(), message);
            }
        }
    }
}

TEST(DocumentTest, TheJsonObjectHasSortedMembersAndArraysForLists)
{
    Metadata metadata = Support::MinimalMetadata();
    metadata.Core.Comment = "\"\\/\b\f\n\r\t\x01\x1F\x7F\u00E9";
    metadata.Detectors.resize(2);
    metadata.Detectors[0]->DetectorType = "Z";
    metadata.Detectors[1]->DetectorType = "Gases"; // the name of a list
    metadata.CustomProperties["n"] = 7;
    EXPECT_EQ(Record(metadata).ToJsonObject(),
              R"({"Acquisition":{"AcquisitionDatetime":"2023-11-14T22:13:20.000Z"},"BinaryResult":{},)"
              R"("Core":{"Comment":"\"\\/\b\f\n\r\t\u0001\u001f)"
              "\x7F\u00E9"
              R"(","Guid":"091a2b3c-4d5e-6f80-91a2-b3c4d5e6f708"},"CustomPropertyGroup":{"CustomProperties":)"
              R"([{"name":"n","rawdatatype":"Int","type":"int32","value":"7"}]},)"
              R"("Detectors":[{"DetectorName":"","DetectorType":"Z"},{"DetectorName":"","DetectorType":"Gases"}],)"
              R"("EnergyFilterSettings":{"EntranceApertureType":""},)"
              R"("Instrument":{"ComputerName":"scope-pc","InstrumentID":"4711","Manufacturer":"Ardo"},)"
              R"("Optics":{"Apertures":[],"HighMagnificationMode":"","IlluminationMode":"","ObjectiveLensMode":"",)"
              R"("TEMOperatingSubMode":""},"Sample":{},"ScanSettings":{"ScanSize":{"Height":"256","Width":"512"}},)"
              R"("StageSettings":{"StagePosition":{"Tilt":{},"X":"0","Y":"0","Z":"0"}},)"
              R"("VacuumProperties":{"VacuumMode":""}})");
    metadata.Core.Comment = "\xFF";
    EXPECT_THAT(
        [&] { static_cast<void>(Record(metadata).ToJsonObject()); },
        testing::ThrowsMessage<boost::property_tree::ptree_bad_data>(testing::HasSubstr("/Metadata/Core/Comment")));
}

TEST(DocumentTest, NumbersThatAreNotFiniteAreWrittenAndReadBack)
{
    using Support::Infinity;
    for (const SerializeType type : Support::BothTypes)
    {
        Metadata metadata = Support::MinimalMetadata();
        metadata.Optics.Focus = Infinity;
        metadata.Optics.Defocus = -Infinity;
        metadata.Optics.BeamCurrent = Support::NotANumber;
        metadata.CustomProperties["f"] = std::numeric_limits<float>::denorm_min();
        const Metadata copy = Read(Write(metadata, type), type);
        EXPECT_EQ(copy.Optics.Focus, Infinity);
        EXPECT_EQ(copy.Optics.Defocus, -Infinity);
        EXPECT_TRUE(std::isnan(copy.Optics.BeamCurrent.value()));
        EXPECT_EQ(copy.CustomProperties, metadata.CustomProperties);
    }
}

TEST(DocumentTest, AnotherSerializableKeepsItsOwnRootAttributesAndIsChecked)
{
    struct Other : Serializable
    {
        boost::property_tree::ptree tree;
        boost::property_tree::ptree Serialize(SerializeType) const override { return tree; }
        void Deserialize(const boost::property_tree::ptree& read, SerializeType) override { tree = read; }
    };
    Other other;
    other.tree.put("a", "1");
    other.tree.put("<xmlattr>.own", "x");
    EXPECT_THAT(other.SerializeToString(SerializeType::Json),
                testing::StartsWith("{\n    \"Metadata\": {\n        \"<xmlattr>\": {\n            \"own\": \"x\",\n"
                                    "            \"xmlns:nil\": "));
    EXPECT_THAT(other.SerializeToString(SerializeType::Xml), testing::HasSubstr("<Metadata own=\"x\" xmlns:nil="));

    other.tree.put("no name", "2");
    EXPECT_THROW(other.SerializeToString(SerializeType::Xml), boost::property_tree::ptree_bad_data);
    other.tree.put("a.b", "3"); // a node with text and children
    EXPECT_THROW(other.SerializeToString(SerializeType::Json), boost::property_tree::json_parser::json_parser_error);
}

} // namespace Ardo::Kiln::MetadataSerializer
