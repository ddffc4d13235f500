#include "Ardo/Kiln/ImageIO/ReadImageFromFile.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/ImageDecoders_p.h"
#include "Ardo/Kiln/ImageIO/ImageFile.h"
#include "Ardo/Kiln/ImageIO/ReadImageException.h"
#include "Ardo/Kiln/Logger/ComponentLog.h"

namespace Ardo::Kiln::ImageIO
{

std::unique_ptr<Imaging::const_raw_image> ReadImageFromFile(const std::wstring& file)
{
    using Cause = ReadImageException::Cause;

    try
    {
        return ImageFile(file).ReadImage();
    }
    catch (const ReadImageException& failure)
    {
        const std::string name = FileSystem::ToDisplayText(FileSystem::ToPath(file));
        Logger::ComponentLog("ImageIO").Warning(name + ": " + failure.Reason());
        if (dynamic_cast<const NoImageReaders*>(&failure) != nullptr)
        {
            throw ReadImageException("ReadImageFromFile: failed to create Imaging::RawImage::Com::ImageFileFactory",
                                     failure);
        }
        throw ReadImageException(failure.GetCause() == Cause::Unsupported
                                     ? "null IRawImage2"
                                     : "ReadImageFromFile: failed to open file -" + name,
                                 failure);
    }
}

} // namespace Ardo::Kiln::ImageIO
