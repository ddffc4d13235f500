#pragma once

#include "Ardo/Imaging/const_raw_image.h"

#include <cstddef>
#include <memory>

namespace Ardo::Kiln::ImageIO
{

/// True if Qt has an image reader at all. Any thread may call it.
bool HasQtImageReaders();

/// The first image of a file that one of Qt's image readers knows, told by its content.
/// \param bytes the whole file; not needed any more on return.
/// \throws std::runtime_error whose text is the reason.
std::unique_ptr<Imaging::const_raw_image> DecodeWithQt(const unsigned char* bytes, std::size_t size);

} // namespace Ardo::Kiln::ImageIO
