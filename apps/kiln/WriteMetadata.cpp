#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Record.h"
#include "apps/kiln/ToolLog.h"

#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/Profiling/Stage.h"

namespace Ardo::Kiln::Tool
{

namespace
{

std::string Written(const MetadataLib::Metadata& record, MetadataSerializer::SerializeType type,
                    const std::string& name)
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

} // namespace

void WriteMetadata(const std::string& file, const std::string& format, const std::string& output)
{
    using MetadataSerializer::SerializeType;

    auto record = ReadRecord(InputFile(file), file);
    if (!record)
    {
        throw Failure(file + ": holds no record");
    }
    const auto type = format == "json" ? SerializeType::Json : SerializeType::Xml;
    const Profiling::Stage stage("write record");
    WriteText(output, Written(*record, type, file));
    LogInfo("wrote the record of " + file + " as " + format + " to " + output);
}

} // namespace Ardo::Kiln::Tool
