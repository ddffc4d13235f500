#pragma once

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/KilnExport.h"

#include <memory>
#include <string>

namespace Ardo::Kiln::ImageIO
{

/// Reads the first image of any image file: TIFF (told by its first bytes, never by its name) as TiffReader does, every
/// other format that Qt's image readers know.
///
/// Grey images of 8 and 16 bits, float images, RGB and RGBA of 8 bits keep their samples as they are. Black-and-white
/// images and palettes become UInt8 if all their colours are grey, else Rgb8 or Rgba8; colours of 16 bits become 8.
/// Metadata is not read.
///
/// Files may be hostile: an image that the file cannot possibly hold is refused before memory is asked for, and so is a
/// PNG file that is cut or has a wrong checksum. What Qt's readers have to say of damage in other formats goes to Qt's
/// message handler, which is the application's.
/// Needs no application object. Any thread may call it.
/// \throws std::runtime_error "ReadImageFromFile: failed to create Imaging::RawImage::Com::ImageFileFactory" if there
///         is no image reader at all;
///         "ReadImageFromFile: failed to open file -" and FileSystem::ToDisplayText of the name if the file cannot be
///         opened or read, or is no image (the reason is logged as a warning); "null IRawImage2" if it is a TIFF image
///         whose samples have no PixelKind (16-bit colours, 64-bit floats, palettes, signed samples, 0 as white).
/// \throws std::range_error of FileSystem::ToPath if the name can be no path.
KILN_EXPORT std::unique_ptr<Imaging::const_raw_image> ReadImageFromFile(const std::wstring& file);

} // namespace Ardo::Kiln::ImageIO
