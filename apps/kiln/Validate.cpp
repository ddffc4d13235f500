#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Json.h"
#include "apps/kiln/Record.h"
#include "apps/kiln/SchemaValidator.h"
#include "apps/kiln/ToolLog.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/Profiling/Stage.h"

#include <boost/property_tree/exceptions.hpp>
#include <QJsonArray>

#include <algorithm>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Ardo::Kiln::Tool
{

namespace
{

using MetadataSerializer::DocumentFault;
using MetadataSerializer::SerializeType;
using Faults = std::vector<DocumentFault>;

/// True if the library writes \p record as \p document, byte for byte.
/// \param record as read from the document without fault.
bool IsAsWritten(const MetadataLib::Metadata& record, const RecordDocument& document)
{
    try
    {
        return MetadataSerializer::Record(record).SerializeToString(document.type) == document.text;
    }
    catch (const boost::property_tree::ptree_bad_data&)
    {
        return false; // written with all digits of its numbers, it is longer than readers take
    }
}

/// True when the text is a document with a "Metadata" and few faults for the reader: then validation costs about as
/// much as reading.
bool IsForSchema(const Faults& readerFaults)
{
    // Neither an error of the parser nor "more is left out" has a place in the document.
    return std::none_of(readerFaults.begin(), readerFaults.end(),
                        [](const DocumentFault& fault) { return fault.place.empty(); });
}

/// Validators for any number of threads. They are kept: reading the schema takes longer than validating a record.
/// They are not thread_local: where the compiler emulates that, an object's memory is freed before its destructor runs.
class SchemaValidators
{
public:
    /// \param readerFaults of CheckDocument.
    Faults Validate(const std::string& text, const Faults& readerFaults)
    {
        std::unique_ptr<SchemaValidator> validator = Take();
        Faults faults = readerFaults.empty() && validator->IsValid(text) ? Faults() : validator->Validate(text);
        const std::lock_guard lock(m_mutex);
        m_free.push_back(std::move(validator));
        return faults;
    }

private:
    std::unique_ptr<SchemaValidator> Take()
    {
        {
            const std::lock_guard lock(m_mutex);
            if (!m_free.empty())
            {
                auto validator = std::move(m_free.back());
                m_free.pop_back();
                return validator;
            }
        }
        return std::make_unique<SchemaValidator>();
    }

    std::mutex m_mutex;
    std::vector<std::unique_ptr<SchemaValidator>> m_free;
};

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
///
/// The schema describes the form in which records are written, so a document that is just as the library writes the
/// record in it has no fault. Writing it takes a fraction of the time of the schema's validator.
Faults FaultsOf(const RecordDocument& document)
{
    Profiling::Stage stage("validate record");
    stage.AddBytes(document.text.size());
    MetadataLib::Metadata record;
    Faults readerFaults = CheckDocument(document.text, document.type, record);
    if (document.type != SerializeType::Xml || !IsForSchema(readerFaults) ||
        (readerFaults.empty() && IsAsWritten(record, document)))
    {
        return readerFaults;
    }
    static SchemaValidators g_validators;
    Faults faults = g_validators.Validate(document.text, readerFaults);
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

std::string FaultsText(const std::string& file, const Faults& faults)
{
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
    return faults.empty() ? Printable(file) + ": valid\n" : report;
}

/// docs/kiln.md describes the object.
std::string FaultsJson(const std::string& file, const Faults& faults)
{
    QJsonArray list;
    for (const DocumentFault& fault : faults)
    {
        list.append(QJsonObject{{"line", static_cast<qint64>(fault.line)},
                                {"place", QString::fromStdString(fault.place)},
                                {"text", QString::fromStdString(fault.text)}});
    }
    return JsonText({{"file", QString::fromStdString(file)}, {"valid", faults.empty()}, {"faults", list}});
}

FileReport Validate(const FoundFile& found, bool isJson)
{
    const std::string& file = found.name;
    const auto document = DocumentOf(InputFile(file, found.isRegular), file);
    if (!document)
    {
        throw Failure(file + ": holds no record: it is neither a TIFF file with one nor a record's document");
    }
    const Faults faults = FaultsOf(*document);
    LogInfo("validated " + file + ": " + std::to_string(faults.size()) + " faults");
    return {isJson ? FaultsJson(file, faults) : FaultsText(file, faults), "", !faults.empty()};
}

} // namespace

bool Validate(const BatchOptions& options)
{
    return ForEachFile(options, FilesOfFolder::Tiff,
                       [&](const FoundFile& file) { return Validate(file, options.isJson); });
}

} // namespace Ardo::Kiln::Tool
