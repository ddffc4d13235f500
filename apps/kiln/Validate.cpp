#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Record.h"
#include "apps/kiln/SchemaValidator.h"
#include "apps/kiln/ToolLog.h"

#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include <string>

namespace Ardo::Kiln::Tool
{

namespace
{

/// The XML document that \p file is or holds. A JSON document is read and written as XML: its faults of syntax and of
/// content are the reader's, with their place.
std::string XmlOf(const InputFile& file, const std::string& name)
{
    switch (KindOf(file))
    {
    case FileKind::Xml:
        return file.Text(MaximumDocumentSize);
    case FileKind::Tiff:
        if (auto document = EmbeddedDocument(file))
        {
            return *std::move(document);
        }
        break;
    case FileKind::Json:
        if (auto record = ReadRecord(file, name))
        {
            return MetadataSerializer::Record(*record).SerializeToString(MetadataSerializer::SerializeType::Xml);
        }
        break;
    case FileKind::Other:
        break;
    }
    throw Failure(name + ": holds no record");
}

} // namespace

bool Validate(const std::string& file)
{
    const auto faults = SchemaValidator().Validate(XmlOf(InputFile(file), file));
    std::string report;
    for (const auto& fault : faults)
    {
        report += Printable(file) + ":" + (fault.line > 0 ? std::to_string(fault.line) + ":" : "") + " " +
                  (fault.path.empty() ? "" : Printable(fault.path) + ": ") + Printable(fault.text) + "\n";
    }
    if (faults.size() == SchemaValidator::MaximumFaults)
    {
        report += "The first " + std::to_string(faults.size()) + " faults are shown.\n";
    }
    Print(faults.empty() ? Printable(file) + ": valid\n" : report);
    LogInfo("validated " + file + ": " + std::to_string(faults.size()) + " faults");
    return faults.empty();
}

} // namespace Ardo::Kiln::Tool
