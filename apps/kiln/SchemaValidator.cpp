#include "apps/kiln/SchemaValidator.h"

#include "generated/MetadataSchema.h"

#include <algorithm>
#include <climits>

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlschemas.h>
#include <libxml/xmlschemastypes.h>

#include <stdexcept>
#include <string_view>
#include <utility>

namespace Ardo::Kiln::Tool
{

namespace
{

template <typename T, void (*Release)(T*)>
struct Deleter
{
    void operator()(T* object) const { Release(object); }
};

using Document = std::unique_ptr<xmlDoc, Deleter<xmlDoc, xmlFreeDoc>>;
using ParserContext = std::unique_ptr<xmlParserCtxt, Deleter<xmlParserCtxt, xmlFreeParserCtxt>>;
using SchemaParser = std::unique_ptr<xmlSchemaParserCtxt, Deleter<xmlSchemaParserCtxt, xmlSchemaFreeParserCtxt>>;
using Schema = std::unique_ptr<xmlSchema, Deleter<xmlSchema, xmlSchemaFree>>;
using SchemaContext = std::unique_ptr<xmlSchemaValidCtxt, Deleter<xmlSchemaValidCtxt, xmlSchemaFreeValidCtxt>>;

using Faults = std::vector<SchemaValidator::Fault>;

void Collect(void* faults, xmlErrorPtr error)
{
    auto& collected = *static_cast<Faults*>(faults);
    if (collected.size() >= SchemaValidator::MaxFaults)
    {
        return;
    }
    SchemaValidator::Fault fault{static_cast<std::size_t>(std::max(error->line, 0)), "",
                                 error->message != nullptr ? error->message : "unknown fault"};
    constexpr std::size_t MaxLength = 300; // it quotes the document
    if (fault.text.size() > MaxLength)
    {
        fault.text.resize(MaxLength);
        fault.text += "...";
    }
    while (!fault.text.empty() && fault.text.back() == '\n')
    {
        fault.text.pop_back();
    }
    if (auto* node = static_cast<xmlNode*>(error->node))
    {
        if (xmlChar* path = xmlGetNodePath(node))
        {
            fault.place = reinterpret_cast<const char*>(path);
            xmlFree(path);
        }
    }
    collected.push_back(std::move(fault));
}

constexpr int ParserOptions =
    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_BIG_LINES | XML_PARSE_HUGE;

void Drop(void*, const char*, ...) {}

/// To be called before libxml2 is used by the calling thread.
void PrepareThread()
{
    // The first uses of the parser and of the schema's types are not thread-safe.
    static const bool g_isInitialised = (xmlInitParser(), xmlSchemaInitTypes(), true);
    static_cast<void>(g_isInitialised);
    // Otherwise it prints errors without a structured form to standard error. Each thread has a function of its own.
    xmlSetGenericErrorFunc(nullptr, Drop);
}

/// Replaces the XML declaration by blanks: documents are always UTF-8, but libxml2 would decode them as the declaration
/// says, or refuse an encoding that it does not know.
std::string WithoutDeclaration(std::string xml)
{
    const std::size_t begin = xml.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    const std::size_t end = xml.compare(begin, 5, "<?xml") == 0 ? xml.find("?>", begin) : std::string::npos;
    if (end != std::string::npos)
    {
        std::replace_if(
            xml.begin() + static_cast<std::ptrdiff_t>(begin), xml.begin() + static_cast<std::ptrdiff_t>(end + 2),
            [](char c) { return c != '\n'; }, ' ');
    }
    return xml;
}

bool IsNamed(const xmlNode& node, std::string_view name)
{
    return node.type == XML_ELEMENT_NODE && reinterpret_cast<const char*>(node.name) == name;
}

/// Renames detectors of the type "Metadata": the schema declares the root element of this name and would validate each
/// as a whole document.
void RenameDetectors(const xmlNode& root)
{
    for (const xmlNode* section = root.children; section != nullptr; section = section->next)
    {
        for (xmlNode* node = IsNamed(*section, "Detectors") ? section->children : nullptr; node != nullptr;
             node = node->next)
        {
            if (IsNamed(*node, "Metadata"))
            {
                xmlNodeSetName(node, reinterpret_cast<const xmlChar*>("Detector"));
            }
        }
    }
}

} // namespace

struct SchemaValidator::Implementation
{
    Schema schema;
};

SchemaValidator::SchemaValidator() : m_implementation(std::make_unique<Implementation>())
{
    PrepareThread();
    Faults faults;
    const SchemaParser parser(
        xmlSchemaNewMemParserCtxt(Generated::MetadataSchema, static_cast<int>(sizeof(Generated::MetadataSchema))));
    if (parser)
    {
        xmlSchemaSetParserStructuredErrors(parser.get(), Collect, &faults);
        m_implementation->schema.reset(xmlSchemaParse(parser.get()));
    }
    if (!m_implementation->schema)
    {
        throw std::runtime_error("the metadata schema cannot be used: " +
                                 (faults.empty() ? std::string("out of memory") : faults.front().text));
    }
}

SchemaValidator::~SchemaValidator() = default;

bool SchemaValidator::IsValid(const std::string& xml)
{
    PrepareThread();
    const std::string text = WithoutDeclaration(xml);
    if (text.size() > static_cast<std::size_t>(INT_MAX))
    {
        return false;
    }
    const ParserContext parser(xmlCreateMemoryParserCtxt(text.data(), static_cast<int>(text.size())));
    const SchemaContext context(xmlSchemaNewValidCtxt(m_implementation->schema.get()));
    if (!parser || !context)
    {
        throw std::bad_alloc();
    }
    xmlCtxtUseOptions(parser.get(), ParserOptions);
    Faults faults;
    xmlSchemaSetValidStructuredErrors(context.get(), Collect, &faults);
    // The validator takes the place of the functions that would make the tree.
    xmlSAXHandler* const treeMaker = std::exchange(parser->sax, nullptr);
    xmlSchemaSAXPlugStruct* const plug = xmlSchemaSAXPlug(context.get(), &parser->sax, &parser->userData);
    bool isValid = false;
    if (plug != nullptr)
    {
        isValid = xmlParseDocument(parser.get()) == 0 && parser->wellFormed == 1 && faults.empty() &&
                  xmlSchemaIsValid(context.get()) == 1;
        xmlSchemaSAXUnplug(plug);
    }
    parser->sax = treeMaker;
    return isValid;
}

Faults SchemaValidator::Validate(const std::string& xml)
{
    PrepareThread();
    Faults faults;
    const ParserContext parser(xmlNewParserCtxt());
    const SchemaContext context(xmlSchemaNewValidCtxt(m_implementation->schema.get()));
    if (!parser || !context)
    {
        throw std::bad_alloc();
    }
    if (xml.size() > static_cast<std::size_t>(INT_MAX))
    {
        return {{0, "", "the document is too long"}};
    }

    const std::string text = WithoutDeclaration(xml);
    const Document document(
        // The size has been checked by the reader.
        xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()), nullptr, "UTF-8", ParserOptions));
    if (!document)
    {
        if (xmlErrorPtr error = xmlCtxtGetLastError(parser.get()))
        {
            Collect(&faults, error);
        }
        else
        {
            faults.push_back({0, "", "not an XML document"});
        }
        return faults;
    }

    // The schema also declares elements that stand deeper; none of them is a document.
    xmlNode* const root = xmlDocGetRootElement(document.get());
    if (root == nullptr || std::string_view(reinterpret_cast<const char*>(root->name)) != "Metadata")
    {
        return {{root != nullptr ? static_cast<std::size_t>(xmlGetLineNo(root)) : 0, "",
                 "the root element is not 'Metadata'"}};
    }

    RenameDetectors(*root);
    xmlSchemaSetValidStructuredErrors(context.get(), Collect, &faults);
    if (xmlSchemaValidateDoc(context.get(), document.get()) != 0 && faults.empty())
    {
        faults.push_back({0, "", "the document could not be validated"});
    }
    return faults;
}

} // namespace Ardo::Kiln::Tool
