#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Json.h"
#include "apps/kiln/Record.h"
#include "apps/kiln/ToolLog.h"

#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/Profiling/Stage.h"

namespace Ardo::Kiln::Tool
{

namespace
{

using MetadataSerializer::SerializeType;

std::string Written(MetadataLib::Metadata& record, SerializeType type, const std::string& name)
{
    try
    {
        return MetadataSerializer::Record(record).SerializeToString(type);
    }
    catch (const std::exception& error)
    {
        throw Failure(name + ": " + error.what()); // a JSON document can hold what XML cannot
    }
}

/// The document that is asked for.
std::string DocumentOf(const FoundFile& file, const MetadataOptions& options)
{
    const std::string& name = file.name;
    auto document = DocumentOf(InputFile(name, file.isRegular), name);
    if (!document)
    {
        throw Failure(name + ": holds no record");
    }
    if (options.isAsIs)
    {
        return std::move(document->text);
    }
    auto record = ReadDocument(*document, name);
    const Profiling::Stage stage("write record");
    if (options.batch.isJson)
    {
        std::string object = JsonText({{"file", QString::fromStdString(name)}});
        AddMember(object, "record", MetadataSerializer::Record(record).ToJsonObject());
        return object;
    }
    return Written(record, options.format == "json" ? SerializeType::Json : SerializeType::Xml, name);
}

} // namespace

bool WriteMetadata(const MetadataOptions& options)
{
    auto files = FindFiles(options.batch.files, options.batch.isRecursive, FilesOfFolder::Tiff);
    const bool toStream = options.output == StandardStream || options.batch.isJson;
    const bool toFolder =
        !toStream && (files.size() > 1 || IsFolder(options.batch.files[0]) || IsFolder(options.output));
    if (toFolder)
    {
        PlanOutputs(files, options.output, "." + options.format);
    }
    else if (!toStream)
    {
        RefuseInput(options.batch.files[0], options.output);
    }
    return ForEachFile(options.batch, files,
                       [&](const FoundFile& file)
                       {
                           FileReport report;
                           std::string document = DocumentOf(file, options);
                           if (toStream)
                           {
                               report.output = std::move(document);
                           }
                           else
                           {
                               const std::string& output = toFolder ? file.output : options.output;
                               if (toFolder)
                               {
                                   MakeFolderOf(output);
                               }
                               WriteText(output, document);
                           }
                           LogInfo("wrote the record of " + file.name + " to " +
                                   (toFolder ? file.output : options.output));
                           return report;
                       });
}

} // namespace Ardo::Kiln::Tool
