#include "apps/kiln/Record.h"

#include "apps/kiln/Failure.h"
#include "Ardo/Kiln/ImageIO/TiffReader.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include <array>
#include <string_view>

namespace Ardo::Kiln::Tool
{

FileKind KindOf(const InputFile& file)
{
    using namespace std::string_view_literals;
    constexpr std::array TiffSignatures = {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv};
    constexpr auto ByteOrderMark = "\xEF\xBB\xBF"sv;

    const std::string head = file.Head(4096);
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

std::optional<std::string> EmbeddedDocument(const InputFile& tiff)
{
    ImageIO::TiffReader reader;
    reader.OpenFields(tiff.WidePath());
    std::string text = reader.GetMetadataText();
    return text.empty() ? std::nullopt : std::optional(std::move(text));
}

std::optional<MetadataLib::Metadata> ReadRecord(const InputFile& file, const std::string& name)
{
    using MetadataSerializer::SerializeType;

    try
    {
        std::string text;
        auto type = SerializeType::Xml;
        switch (KindOf(file))
        {
        case FileKind::Tiff:
            if (auto document = EmbeddedDocument(file))
            {
                text = *std::move(document);
            }
            break;
        case FileKind::Json:
            type = SerializeType::Json;
            [[fallthrough]];
        case FileKind::Xml:
            text = file.Text(MaximumDocumentSize);
            break;
        case FileKind::Other:
            break;
        }
        if (text.empty())
        {
            return std::nullopt;
        }
        MetadataLib::Metadata metadata;
        MetadataSerializer::Record(metadata).DeserializeFromString(text, type);
        return metadata;
    }
    catch (const Failure&)
    {
        throw;
    }
    catch (const std::exception& error)
    {
        throw Failure(name + ": " + error.what());
    }
}

} // namespace Ardo::Kiln::Tool
