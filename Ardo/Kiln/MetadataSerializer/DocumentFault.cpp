#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"

#include "Ardo/Kiln/MetadataSerializer/Document_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentLines_p.h"
#include "Ardo/Kiln/MetadataSerializer/Serializable.h"
#include "Ardo/Kiln/MetadataSerializer/TreeReader_p.h"

#include <boost/exception/get_error_info.hpp>
#include <boost/property_tree/detail/file_parser_error.hpp>
#include <new>
#include <optional>
#include <ostream>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

std::vector<DocumentFault> ReadAndReport(const std::string& text, SerializeType type, MetadataLib::Metadata& record)
{
    const Document document(text, type);
    ReadReport report(ReadReport::Extensions::Allowed);
    std::optional<DocumentFault> reason;
    try
    {
        TreeReader(document.Metadata(), type, report).ReadRecord(record);
    }
    catch (const std::bad_alloc&)
    {
        throw;
    }
    catch (const std::exception& error)
    {
        reason = FaultOf(error);
    }
    SetLines(report.All(), document);
    std::vector<DocumentFault> faults = report.LeftOut();
    if (reason)
    {
        faults.push_back(report.Reason() != nullptr ? *report.Reason() : *reason);
    }
    return faults;
}

} // namespace

std::string ToText(const DocumentFault& fault)
{
    return (fault.line > 0 ? "line " + std::to_string(fault.line) + ": " : "") +
           (fault.place.empty() ? "" : fault.place + ": ") + fault.text;
}

std::ostream& operator<<(std::ostream& stream, const DocumentFault& fault)
{
    return stream << ToText(fault);
}

DocumentFault FaultOf(const std::exception& error)
{
    if (const auto* fault = boost::get_error_info<DocumentFaultInfo>(error))
    {
        return *fault;
    }
    if (const auto* parser = dynamic_cast<const boost::property_tree::file_parser_error*>(&error))
    {
        return {parser->line(), std::string(), parser->message()};
    }
    return {0, std::string(), error.what()};
}

std::vector<DocumentFault> CheckDocument(const std::string& text, SerializeType type)
{
    MetadataLib::Metadata record;
    return CheckDocument(text, type, record);
}

std::vector<DocumentFault> CheckDocument(const std::string& text, SerializeType type, MetadataLib::Metadata& record)
{
    if (text.size() > Serializable::MaxTextSize)
    {
        return {{0, std::string(),
                 "the document has " + std::to_string(text.size()) + " bytes, readers take " +
                     std::to_string(Serializable::MaxTextSize)}};
    }
    try
    {
        return ReadAndReport(text, type, record);
    }
    catch (const std::bad_alloc&)
    {
        throw;
    }
    catch (const std::exception& error)
    {
        return {FaultOf(error)};
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
