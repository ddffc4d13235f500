#include "apps/kiln/Record.h"

#include "apps/kiln/Failure.h"
#include "Ardo/Kiln/ImageIO/ImageFile.h"
#include "Ardo/Kiln/ImageIO/ReadImageException.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/Profiling/Stage.h"

#include <array>
#include <string_view>

namespace Ardo::Kiln::Tool
{

namespace
{

using MetadataSerializer::Serializable;
using MetadataSerializer::SerializeType;

/// Empty for a file that is no TIFF file.
std::string EmbeddedText(const InputFile& file, const std::string& name)
{
    try
    {
        return ImageIO::ImageFile(file.WidePath()).ReadMetadataText();
    }
    catch (const ImageIO::ReadImageException& failure)
    {
        throw Failure(name + ": " + failure.Reason());
    }
}

} // namespace

FileKind KindOf(const InputFile& file)
{
    using namespace std::string_view_literals;
    constexpr std::array TiffSignatures = {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv};
    constexpr auto ByteOrderMark = "\xEF\xBB\xBF"sv;

    const std::string head = file.Head();
    for (const std::string_view signature : TiffSignatures)
    {
        if (head.starts_with(signature))
        {
            return FileKind::Tiff;
        }
    }
    const std::size_t start =
        head.find_first_not_of(" \t\r\n", head.starts_with(ByteOrderMark) ? ByteOrderMark.size() : 0);
    const char first = start == std::string::npos ? '\0' : head[start];
    return first == '<' ? FileKind::Xml : first == '{' ? FileKind::Json : FileKind::Other;
}

std::optional<RecordDocument> DocumentOf(const InputFile& file, const std::string& name)
{
    // First, because a command on many files usually gets TIFF files.
    if (std::string text = EmbeddedText(file, name); !text.empty())
    {
        return RecordDocument{std::move(text), SerializeType::Xml};
    }
    switch (KindOf(file))
    {
    case FileKind::Xml:
        return RecordDocument{file.Text(Serializable::MaxTextSize), SerializeType::Xml};
    case FileKind::Json:
        return RecordDocument{file.Text(Serializable::MaxTextSize), SerializeType::Json};
    case FileKind::Tiff:
    case FileKind::Other:
        break;
    }
    return std::nullopt;
}

MetadataLib::Metadata ReadDocument(const RecordDocument& document, const std::string& name)
{
    if (document.text.size() > Serializable::MaxTextSize) // the reader would ignore it without an error
    {
        throw Failure(name + ": the record has " + std::to_string(document.text.size()) + " bytes, readers take " +
                      std::to_string(Serializable::MaxTextSize));
    }
    Profiling::Stage stage("read record");
    stage.AddBytes(document.text.size());
    try
    {
        MetadataLib::Metadata metadata;
        MetadataSerializer::Record(metadata).DeserializeFromString(document.text, document.type);
        return metadata;
    }
    catch (const std::exception& error)
    {
        throw Failure(name + ": " + ToText(MetadataSerializer::FaultOf(error)));
    }
}

std::optional<MetadataLib::Metadata> ReadRecord(const InputFile& file, const std::string& name)
{
    const auto document = DocumentOf(file, name);
    return document ? std::optional(ReadDocument(*document, name)) : std::nullopt;
}

} // namespace Ardo::Kiln::Tool
