#pragma once

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::ImageIO
{

/// An image could not be written. The text begins "Failed to write TIFF image." and goes on with the detail.
class KILN_EXPORT ExportRawImageException : public Exception::Error
{
public:
    /// \param message the whole text, UTF-8.
    explicit ExportRawImageException(const std::string& message);
    ExportRawImageException(const ExportRawImageException&) = default;
    ExportRawImageException& operator=(const ExportRawImageException&) = default;
    ~ExportRawImageException() override;
};

} // namespace Ardo::Kiln::ImageIO
