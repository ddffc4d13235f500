#include "Ardo/Kiln/ImageIO/ExportRawImageException.h"

namespace Ardo::Kiln::ImageIO
{

ExportRawImageException::ExportRawImageException(const std::string& message) : Exception::Error(message) {}

ExportRawImageException::~ExportRawImageException() = default;

} // namespace Ardo::Kiln::ImageIO
