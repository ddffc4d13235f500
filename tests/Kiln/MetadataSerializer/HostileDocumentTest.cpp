#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/LogCollector.h"

#include <boost/property_tree/detail/xml_parser_error.hpp>
#include <boost/property_tree/exceptions.hpp>
#include <boost/property_tree/json_parser/error.hpp>
#include <gmock/gmock.h>

#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using MetadataLib::Metadata;
using testing::HasSubstr;

std::string Repeated(const std::string& text, std::size_t count)
{
    std::string result;
    result.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i)
    {
        result += text;
    }
    return result;
}

/// The type and text of the exception that reading \p text ends with, and whether the metadata stayed as it was.
std::string Outcome(const std::string& text, SerializeType type)
{
    Metadata metadata;
    const auto unchanged = [&metadata] { return metadata == Metadata() ? "" : ", changed"; };
    try
    {
        Record(metadata).DeserializeFromString(text, type);
    }
    catch (const boost::property_tree::xml_parser::xml_parser_error& error)
    {
        return "xml: " + error.message() + ", line " + std::to_string(error.line()) + unchanged();
    }
    catch (const boost::property_tree::json_parser::json_parser_error& error)
    {
        return "json: " + error.message() + ", line " + std::to_string(error.line()) + unchanged();
    }
    catch (const boost::property_tree::ptree_bad_path& error)
    {
        return std::string("path: ") + error.what();
    }
    return "read";
}

std::string Nested(std::size_t depth, const std::string& open, const std::string& close)
{
    return Repeated(open, depth) + Repeated(close, depth);
}

const std::string NoCore = "path: No such node (Core)";
const std::string TooDeep = "xml: nested deeper than 256 levels, line 1";

} // namespace

TEST(HostileDocumentTest, XmlEndsInTheDocumentedError)
{
    const auto root = [](const std::string& content) { return "<Metadata>" + content + "</Metadata>"; };
    const std::string deep = Nested(300, "<a>", "</a>");
    const struct
    {
        std::string text;
        std::string outcome;
    } rows[] = {
        {"", "path: No such node (Metadata)"},
        {"<Other/>", "path: No such node (Metadata)"},
        {"<Metadata/>", NoCore},
        {std::string("<Metadata/>\0\0", 13), NoCore},
        {std::string("<Metadata/>\0<a/>", 16), "xml: not UTF-8, or a character that XML excludes, line 1"},
        {"\xEF\xBB\xBF<?xml version='1.0'?><Metadata/>", NoCore},
        {"text", "xml: expected <, line 1"},
        {"<Metadata>\n<a", "xml: expected >, line 2"},
        {root("\n\n\xFF"), "xml: not UTF-8, or a character that XML excludes, line 3"},
        {root("\x01"), "xml: not UTF-8, or a character that XML excludes, line 1"},
        {root("\n&#1;"), "xml: invalid character reference, line 2"},
        {root("&#xD800;"), "xml: invalid character reference, line 1"},
        {root("&#x10000000000000041;"), "xml: invalid character reference, line 1"},
        {root("<a b='&#0;'/>"), "xml: invalid character reference, line 1"},
        {root("<!-- &#1; --><![CDATA[&#1;]]>"), NoCore},
        {root(Nested(255, "<a>", "</a>")), NoCore},
        {root(Nested(256, "<a>", "</a>")), TooDeep},
        {root(Nested(255, "<a>", "</a>") + deep), TooDeep},
        {Nested(2'000'000, "<a>", ""), TooDeep},
        {root(Repeated("<a b='>' c=\"/>\">", 300)), TooDeep},
        // What looks like an end tag but is none must not make room.
        {root(Repeated("<a><!--</a>-->", 300)), TooDeep},
        {root(Repeated("<a><![CDATA[</a>]]>", 300)), TooDeep},
        {root(Repeated("<a><?x </a>?>", 300)), TooDeep},
        {root(Repeated("<a b='</a>'>", 300)), TooDeep},
        {root(Repeated("<a><!DOCTYPE a [ <!ENTITY x '</a>'> ]>", 300)), TooDeep},
        {root(Repeated("<a><!x </a>", 300)), TooDeep},
        {"<Metadata/></a><a/>", "xml: expected element name, line 1"},
        // What looks like a start tag but is none costs nothing.
        {root("<!--" + deep + "--><![CDATA[" + deep + "]]><?x " + deep + "?>"), NoCore},
        // Entities are not expanded, so they cannot grow.
        {"<!DOCTYPE m [<!ENTITY a '&b;&b;'><!ENTITY b 'bb'>]><Metadata>&a;</Metadata>", NoCore},
        {root(Repeated("<a/>", 1'000'000)), "xml: more than 1000000 nodes, line 1"},
        {root("<a " + Repeated("b='' ", 1'000'000) + "/>"), "xml: more than 1000000 nodes, line 1"},
    };
    for (const auto& [text, outcome] : rows)
    {
        EXPECT_EQ(Outcome(text, SerializeType::Xml), outcome) << text.substr(0, 80);
    }
}

TEST(HostileDocumentTest, JsonEndsInTheDocumentedError)
{
    const std::string tooDeep = "json: nested deeper than 256 levels, line 1";
    const struct
    {
        std::string text;
        std::string outcome;
    } rows[] = {
        {"", "json: expected value, line 1"},
        {"{}", "path: No such node (Metadata)"},
        {"[1, 2]", "path: No such node (Metadata)"},
        {"{\"Metadata\": null}", NoCore},
        {"{\"Metadata\":\n{\"a\": \"b}", "json: unterminated string, line 2"},
        {"{\"Metadata\": \"\xC0\x80\"}", "json: not UTF-8, line 1"},
        {"{\"Metadata\":\n\"\\uDC00\"}", "json: invalid codepoint, stray low surrogate, line 2"},
        {Nested(256, "[", "]"), "path: No such node (Metadata)"},
        {Nested(257, "[", "]"), tooDeep},
        {Repeated("{\"a\":", 1'000'000), tooDeep},
        {"{\"Metadata\": {\"a\": \"" + Repeated("[{", 300) + "\"}}", NoCore},
        {"{\"a\": \"\\\\\", \"b\": " + Nested(300, "[", "]") + "}", tooDeep},
        {"{\"a\": \"\\\"]]]]\", \"b\": " + Nested(256, "[", "]") + "}", tooDeep},
        {"[" + Repeated("1,", 1'000'000) + "1]", "json: more than 1000000 nodes, line 1"},
    };
    for (const auto& [text, outcome] : rows)
    {
        EXPECT_EQ(Outcome(text, SerializeType::Json), outcome) << text.substr(0, 80);
    }
}

TEST(HostileDocumentTest, TwentyMebibytesAreReadAndOneByteMoreIsIgnored)
{
    Metadata original = Support::MinimalMetadata();
    for (const SerializeType type : {SerializeType::Xml, SerializeType::Json})
    {
        std::string text = Record(original).SerializeToString(type);
        text.append(20'971'520 - text.size(), ' ');
        Metadata metadata;
        Record(metadata).DeserializeFromString(text, type);
        EXPECT_EQ(metadata, original);

        text += ' ';
        Metadata untouched;
        EXPECT_NO_THROW(Record(untouched).DeserializeFromString(text, type));
        EXPECT_EQ(untouched, Metadata());
    }
    // What would be ignored on reading is refused on writing.
    original.Core.Comment = std::string(20'971'520, 'x');
    EXPECT_THROW(Record(original).SerializeToString(SerializeType::Xml), boost::property_tree::ptree_bad_data);
}

TEST(HostileDocumentTest, WhatIsUnknownIsLeftOutAndLoggedInBounds)
{
    Metadata original = Support::MinimalMetadata();
    std::string text = Record(original).SerializeToString(SerializeType::Xml);
    text.insert(text.find("<Core>"), "<!-- c --><Later x='1'/>");
    text.insert(text.find("<TEMOperatingSubMode/>"), "<OperatingMode>SEM</OperatingMode>");
    text.insert(text.find("</Sample>") == std::string::npos ? text.find("<Sample/>") : 0,
                "<CustomPropertyGroup><CustomProperties><CustomProperty name='n' value='v' type='complex'/>"
                "</CustomProperties></CustomPropertyGroup>");
    text.insert(text.find("<Guid>"), "<Guid>00000000-0000-0000-0000-000000000001</Guid>");
    text.insert(text.find("<Manufacturer>") + 14, "<b>x</b><!-- c -->");

    Support::LogCollector log;
    Metadata metadata;
    Record(metadata).DeserializeFromString(text, SerializeType::Xml);
    original.Core.Guid = {};
    original.Core.Guid.bytes[15] = 1; // the first of two
    EXPECT_EQ(metadata, original);
    EXPECT_THAT(log.Messages(),
                testing::UnorderedElementsAre(HasSubstr("the element \"Later\" in \"Metadata\""),
                                              HasSubstr("\"Guid\" in \"Metadata.Core\""),
                                              HasSubstr("the value \"SEM\" in \"Metadata.Optics.OperatingMode\""),
                                              HasSubstr("the element \"b\" in \"Metadata.Instrument.Manufacturer\""),
                                              HasSubstr("the custom property of unknown type \"complex\"")));

    text.insert(text.find("<Core>"), Repeated("<" + std::string(5000, 'L') + "/>", 100));
    Record(metadata).DeserializeFromString(text, SerializeType::Xml);
    EXPECT_EQ(log.Messages().size(), 5 + 20);
    for (const std::string& message : log.Messages())
    {
        EXPECT_LT(message.size(), 400);
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
