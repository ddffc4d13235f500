#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/FullMetadata.h"
#include "tests/Support/LogCollector.h"

#include <boost/property_tree/detail/xml_parser_error.hpp>
#include <boost/property_tree/exceptions.hpp>
#include <boost/property_tree/json_parser/error.hpp>
#include <boost/property_tree/ptree.hpp>
#include <gmock/gmock.h>

#include <functional>
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

/// That many attributes of different names.
std::string Attributes(std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
    {
        text += "a" + std::to_string(i) + "='' ";
    }
    return text;
}

const std::string NoCore = "path: No such node (Core)";
const std::string TooDeep = "xml: nested deeper than 256 levels, line 1";

} // namespace

TEST(HostileDocumentTest, XmlEndsInTheDocumentedError)
{
    Support::LogCollector log;
    log.AllowErrors("Metadata: ");
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
        {"<Metadata/></a><a/>", "xml: expected element name, line 1"},
        // What looks like a start tag but is none costs nothing.
        {root("<!--" + deep + "--><![CDATA[" + deep + "]]><?x " + deep + "?>"), NoCore},
        {root(Repeated("<a/>", 1'000'000)), "xml: more than 1000000 nodes, line 1"},
        {root("<a " + Attributes(100) + "/>"), NoCore},
        {root(Repeated("<a " + Attributes(100) + "/>", 10'000)), "xml: more than 1000000 nodes, line 1"},
        {root("\n<a " + Attributes(100'000) + "/>"), "xml: more than 100 attributes of an element, line 2"},
    };
    for (const auto& [text, outcome] : rows)
    {
        EXPECT_EQ(Outcome(text, SerializeType::Xml), outcome) << text.substr(0, 80);
    }
}

TEST(HostileDocumentTest, XmlThatIsNotWellFormedIsRefused)
{
    Support::LogCollector log;
    log.AllowErrors("Metadata: ");
    const auto root = [](const std::string& content) { return "<Metadata>" + content + "</Metadata>"; };
    // What the parser of the property tree would take: each with the error, or none for what XML allows.
    const struct
    {
        std::string text;
        std::string error;
    } rows[] = {
        {root("<a></b>"), "mismatched end tag"},
        {root("<a><b></a></b>"), "mismatched end tag"},
        {root("<a></a ><b\n/>"), ""},
        {root("&amp;&lt;&gt;&quot;&apos;&#65;&#x41;"), ""},
        {root("&foo;"), "a reference to an unknown entity, or a bare \"&\""},
        {root("a & b"), "a reference to an unknown entity, or a bare \"&\""},
        {root("<a b='&foo;'/>"), "a reference to an unknown entity, or a bare \"&\""},
        {root("&AMP;"), "a reference to an unknown entity, or a bare \"&\""},
        {root("&#65"), "invalid character reference"},
        {"<!DOCTYPE Metadata><Metadata/>", ""},
        {"<!DOCTYPE m [<!ENTITY a '&b;&b;'><!ENTITY b 'bb'>]><Metadata>&a;</Metadata>",
         "a document type declaration of more than a name, or where none may stand"},
        {"<!DOCTYPE m SYSTEM 'http://localhost/'><Metadata/>",
         "a document type declaration of more than a name, or where none may stand"},
        {root("<!DOCTYPE m>"), "a document type declaration of more than a name, or where none may stand"},
        {root("<!ELEMENT a>"), "unknown declaration"},
        {root("<a b='' b=''/>"), "an attribute given twice"},
        {root("<a b=''c=''/>"), "no white space between attributes"},
        {root("<a b='</a>'/>"), "\"<\" within an attribute"},
        {root("<a b='>&#60;' />"), ""},
        {root("<1a/>"), "invalid name"},
        {root("<a 1='x'/>"), "invalid name"},
        {root("<é.-1 _:ß='x'/>"), ""},
        {root("]]>"), "\"]]>\" within text"},
        {root("<![CDATA[]]&>]]>]]"), ""},
        {root("<!-- a -- b -->"), "\"--\" within a comment"},
        {root("<!-- - - -->"), ""},
        {root("<?xml version='1.0'?>"), "invalid XML declaration"},
        {root("<?xml?>"), "invalid processing instruction"},
        {root("<?a?><?b c?>"), ""},
        {" <?xml version='1.0'?><Metadata/>", "invalid XML declaration"},
        {"<?xml encoding='utf-8'?><Metadata/>", "invalid XML declaration"},
        {"<?xml version='1.0' encoding=''?><Metadata/>", "invalid XML declaration"},
        {"<?xml version='1.0' standalone='maybe'?><Metadata/>", "invalid XML declaration"},
        {"<?xml version = \"1.1\" encoding='ISO-8859-1' standalone='no' ?><Metadata/>", ""},
        {"<Metadata/><Metadata/>", "more than one root element"},
        {"<Metadata/><![CDATA[x]]>", "text outside the root element"},
        {"<Metadata/>\n<!-- c --><?p?>\n", ""},
    };
    for (const auto& [text, error] : rows)
    {
        EXPECT_EQ(Outcome(text, SerializeType::Xml), error.empty() ? NoCore : "xml: " + error + ", line 1") << text;
    }
}

TEST(HostileDocumentTest, JsonEndsInTheDocumentedError)
{
    Support::LogCollector log;
    log.AllowErrors("Metadata: ");
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
    EXPECT_THAT(CheckDocument(std::string(20'971'521, ' '), SerializeType::Xml), testing::SizeIs(1));
}

TEST(HostileDocumentTest, WhatReadersDoNotTakeIsNotWritten)
{
    using boost::property_tree::ptree;
    struct Other : Serializable
    {
        std::function<void(ptree&)> fill;
        std::size_t children = 0;

        ptree Serialize(SerializeType) const override
        {
            ptree tree;
            fill(tree);
            return tree;
        }
        void Deserialize(const ptree& read, SerializeType) override { children = read.size(); }
    };
    const auto nodes = [](std::size_t count)
    {
        return [count](ptree& tree)
        {
            const ptree::value_type node("a", {});
            for (std::size_t i = 0; i < count; ++i)
            {
                tree.push_back(node);
            }
        };
    };
    const auto levels = [](std::size_t count)
    {
        return [count](ptree& tree)
        {
            ptree* innermost = &tree;
            for (std::size_t i = 0; i < count; ++i)
            {
                innermost = &innermost->push_back({"a", {}})->second;
            }
        };
    };
    // Each of the largest is read back, one more is refused. "Metadata" and its namespaces take three nodes of XML and
    // four of JSON; a leaf is an element in XML, but no object in JSON.
    const struct
    {
        std::function<void(ptree&)> fill;
        SerializeType type;
        std::size_t children; ///< 0 if it is refused.
    } rows[] = {
        {nodes(1'000'000 - 3), SerializeType::Xml, 999'997 + 1},
        {nodes(1'000'000 - 3), SerializeType::Json, 0},
        {levels(255), SerializeType::Xml, 1 + 1},
        {levels(256), SerializeType::Xml, 0},
        {levels(255), SerializeType::Json, 1 + 1},
        {levels(256), SerializeType::Json, 0},
        {levels(2'000), SerializeType::Json, 0},
    };
    for (const auto& [fill, type, children] : rows)
    {
        Other other;
        other.fill = fill;
        try
        {
            other.DeserializeFromString(other.SerializeToString(type), type);
            EXPECT_EQ(other.children, children); // with the namespaces
        }
        catch (const boost::property_tree::ptree_bad_data& error)
        {
            EXPECT_EQ(children, 0U) << error.what();
        }
    }
    Metadata metadata = Support::MinimalMetadata();
    metadata.Core.Comment = std::string(20'971'520, 'x');
    EXPECT_THROW(Record(metadata).SerializeToString(SerializeType::Xml), boost::property_tree::ptree_bad_data);
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
    EXPECT_THAT(
        log.Messages(),
        testing::ElementsAre(
            HasSubstr("line 3: /Metadata: the element \"Later\" is left out"),
            HasSubstr("line 4: /Metadata/Core: the element \"Guid\" is left out"),
            HasSubstr("line 7: /Metadata/Instrument/Manufacturer: the element \"b\" is left out"),
            HasSubstr("line 15: /Metadata/Optics/OperatingMode: the value \"SEM\" is left out"),
            HasSubstr("line 42: /Metadata/CustomPropertyGroup/CustomProperties/CustomProperty: the custom property "
                      "\"n\" of unknown type \"complex\" is left out")));

    text.insert(text.find("<Core>"), Repeated("<" + std::string(5000, 'L') + "/>", 100));
    Record(metadata).DeserializeFromString(text, SerializeType::Xml);
    EXPECT_EQ(log.Messages().size(), 5 + 21);
    for (const std::string& message : log.Messages())
    {
        EXPECT_LT(message.size(), 400);
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
