#include "apps/kiln/SchemaValidator.h"

#include "generated/MetadataSchema.h"

#include <climits>

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <stdexcept>
#include <string_view>

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
    if (collected.size() >= SchemaValidator::MaximumFaults)
    {
        return;
    }
    SchemaValidator::Fault fault{error->line, "", error->message != nullptr ? error->message : "unknown fault"};
    while (!fault.text.empty() && fault.text.back() == '\n')
    {
        fault.text.pop_back();
    }
    if (auto* node = static_cast<xmlNode*>(error->node))
    {
        if (xmlChar* path = xmlGetNodePath(node))
        {
            fault.path = reinterpret_cast<const char*>(path);
            xmlFree(path);
        }
    }
    collected.push_back(std::move(fault));
}

} // namespace

struct SchemaValidator::Implementation
{
    Schema schema;
};

SchemaValidator::SchemaValidator() : m_implementation(std::make_unique<Implementation>())
{
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

Faults SchemaValidator::Validate(const std::string& xml)
{
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

    const Document document(
        xmlCtxtReadMemory(parser.get(), xml.data(), static_cast<int>(xml.size()), nullptr, nullptr,
                          XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_BIG_LINES));
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
    const xmlNode* const root = xmlDocGetRootElement(document.get());
    if (root == nullptr || std::string_view(reinterpret_cast<const char*>(root->name)) != "Metadata")
    {
        return {{root != nullptr ? static_cast<int>(xmlGetLineNo(root)) : 0, "", "the root element is not 'Metadata'"}};
    }

    xmlSchemaSetValidStructuredErrors(context.get(), Collect, &faults);
    if (xmlSchemaValidateDoc(context.get(), document.get()) != 0 && faults.empty())
    {
        faults.push_back({0, "", "the document could not be validated"});
    }
    return faults;
}

} // namespace Ardo::Kiln::Tool
