#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Record.h"
#include "apps/kiln/SchemaValidator.h"
#include "apps/kiln/ToolLog.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"
#include "Ardo/Kiln/Profiling/Stage.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

namespace Ardo::Kiln::Tool
{

namespace
{

using MetadataSerializer::DocumentFault;
using MetadataSerializer::SerializeType;
using Faults = std::vector<DocumentFault>;

/// True when the text is a document with a "Metadata" and few faults for the reader: then validation costs about as
/// much as reading.
bool IsForSchema(const Faults& readerFaults)
{
    // Neither an error of the parser nor "more is left out" has a place in the document.
    return std::none_of(readerFaults.begin(), readerFaults.end(),
                        [](const DocumentFault& fault) { return fault.place.empty(); });
}

/// The path of a fault of the schema without the numbers of siblings: "/Metadata/Detectors/Ceta" for ".../Ceta[2]".
std::string WithoutNumbers(const std::string& path)
{
    std::string names;
    bool isNumber = false;
    for (const char c : path)
    {
        isNumber = c == '[' || (isNumber && c != '/');
        if (!isNumber)
        {
            names += c;
        }
    }
    return names;
}

/// True if the schema reports the same fault as the reader. For an unknown element the reader's place is one level
/// higher.
bool IsSame(const DocumentFault& schema, const DocumentFault& reader)
{
    return schema.line == reader.line && (WithoutNumbers(schema.place) + '/').starts_with(reader.place + '/');
}

/// The reader is first: it bounds the cost of a document, and checks what the schema cannot express, such as the values
/// of custom properties. A JSON document is checked by the reader only.
Faults FaultsOf(const RecordDocument& document)
{
    Profiling::Stage stage("validate record");
    stage.AddBytes(document.text.size());
    Faults readerFaults = CheckDocument(document.text, document.type);
    if (document.type != SerializeType::Xml || !IsForSchema(readerFaults))
    {
        return readerFaults;
    }
    Faults faults = SchemaValidator().Validate(document.text);
    if (faults.size() == SchemaValidator::MaxFaults)
    {
        return faults;
    }
    Faults others;
    std::copy_if(readerFaults.begin(), readerFaults.end(), std::back_inserter(others),
                 [&faults](const DocumentFault& fault)
                 {
                     return std::none_of(faults.begin(), faults.end(),
                                         [&fault](const DocumentFault& other) { return IsSame(other, fault); });
                 });
    faults.insert(faults.end(), others.begin(), others.end());
    std::stable_sort(faults.begin(), faults.end(),
                     [](const DocumentFault& a, const DocumentFault& b) { return a.line < b.line; });
    return faults;
}

} // namespace

bool Validate(const std::string& file)
{
    const auto document = DocumentOf(InputFile(file), file);
    if (!document)
    {
        throw Failure(file + ": holds no record");
    }
    const Faults faults = FaultsOf(*document);
    std::string report;
    for (const DocumentFault& fault : faults)
    {
        report += Printable(file) + ":" + (fault.line > 0 ? std::to_string(fault.line) + ":" : "") + " " +
                  (fault.place.empty() ? "" : Printable(fault.place) + ": ") + Printable(fault.text) + "\n";
    }
    if (faults.size() == SchemaValidator::MaxFaults)
    {
        report += "The first " + std::to_string(faults.size()) + " faults are shown.\n";
    }
    Print(faults.empty() ? Printable(file) + ": valid\n" : report);
    LogInfo("validated " + file + ": " + std::to_string(faults.size()) + " faults");
    return faults.empty();
}

} // namespace Ardo::Kiln::Tool
