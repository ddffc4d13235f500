#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Record.h"
#include "apps/kiln/ToolLog.h"

#include "Ardo/Kiln/MetadataSerializer/Record.h"

namespace Ardo::Kiln::Tool
{

void WriteMetadata(const std::string& file, const std::string& format, const std::string& output)
{
    using MetadataSerializer::SerializeType;

    auto record = ReadRecord(InputFile(file), file);
    if (!record)
    {
        throw Failure(file + ": holds no record");
    }
    const auto type = format == "json" ? SerializeType::Json : SerializeType::Xml;
    WriteText(output, MetadataSerializer::Record(*record).SerializeToString(type));
    LogInfo("wrote the record of " + file + " as " + format + " to " + output);
}

} // namespace Ardo::Kiln::Tool
