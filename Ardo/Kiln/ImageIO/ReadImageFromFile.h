#pragma once

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/KilnExport.h"

#include <memory>
#include <string>

namespace Ardo::Kiln::ImageIO
{

/// Reads the first image of an image file of any format: ImageFile(file).ReadImage(), with the texts below. ImageFile
/// describes how samples are converted, and reads files with several images or with a record.
///
/// Needs no application object. Any thread may call it.
/// \throws ReadImageException, a std::runtime_error with the cause and the reason. The reason is also logged as a
///         warning. The text is
///         "ReadImageFromFile: failed to create Imaging::RawImage::Com::ImageFileFactory" if the plug-in with Qt's
///         readers is needed and cannot be loaded;
///         "ReadImageFromFile: failed to open file -" and FileSystem::ToDisplayText of the name if the file cannot be
///         opened or read, is no image, is cut or damaged;
///         "null IRawImage2" if its pixels are of a kind that cannot be converted.
/// \throws std::range_error of FileSystem::ToPath if the name can be no path.
KILN_EXPORT std::unique_ptr<Imaging::const_raw_image> ReadImageFromFile(const std::wstring& file);

} // namespace Ardo::Kiln::ImageIO
