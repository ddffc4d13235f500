#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Ardo::Kiln::ImageIO
{

/// An image file could not be read. what() is the text that the throwing function documents; the other members give the
/// cause.
class KILN_EXPORT ReadImageException : public std::runtime_error
{
public:
    /// Why the image could not be read.
    enum class Cause : std::uint8_t
    {
        System,      ///< The file cannot be opened or read, or there is not enough memory; Code() says why.
        NotAnImage,  ///< The file is of no format that is known.
        Damaged,     ///< The file is cut, or contradicts itself.
        Unsupported, ///< The image is whole, but its pixels cannot be converted without loss.
        Cancelled,   ///< The function of ImageFile::SetProgress ended the reading.
    };

    /// \param reason UTF-8, for a person, without the name of the file: "the JPEG file is cut".
    /// \param code   of the system, if it has one.
    ReadImageException(Cause cause, const std::string& reason, std::error_code code = {});

    /// The same failure under another text.
    ReadImageException(const std::string& text, const ReadImageException& failure);

    /// Why the image could not be read.
    [[nodiscard]] Cause GetCause() const noexcept { return m_cause; }

    /// What happened, in UTF-8, for a person, without the name of the file. Valid as long as any copy of the exception.
    [[nodiscard]] const std::string& Reason() const noexcept { return *m_reason; }

    /// The system's code; no error if there is none.
    [[nodiscard]] std::error_code Code() const noexcept { return m_code; }

private:
    Cause m_cause;
    std::error_code m_code;
    std::shared_ptr<const std::string> m_reason; ///< Shared, so that copies of the exception cannot fail.
};

} // namespace Ardo::Kiln::ImageIO
