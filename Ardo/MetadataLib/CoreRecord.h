#pragma once

#include "Ardo/MetadataLib/TimePoint.h"
#include "Ardo/MetadataLib/Uuid.h"

#include <optional>
#include <string>

namespace Ardo::MetadataLib
{

/// What identifies an image and where it comes from. All texts are UTF-8.
struct CoreRecord
{
    Uuid Guid;                                             ///< Identifies the image.
    std::optional<Uuid> ParentGuid;                        ///< The image that this one was made from.
    std::optional<std::string> Md5Checksum;                ///< Of the pixels, hexadecimal digits.
    std::optional<std::string> PrivateChecksum;            ///< Defined by the acquiring application.
    std::optional<std::string> FileName;                   ///< Name under which the image was first stored.
    std::optional<TimePoint> FileDatetime;                 ///< When the file was written.
    std::optional<std::string> UserID;                     ///< Who acquired the image.
    std::optional<std::string> Comment;                    ///< Free text, may have several lines.
    std::optional<std::string> ApplicationSoftware;        ///< Name of the acquiring application.
    std::optional<std::string> ApplicationSoftwareVersion; ///< Its version.
    std::optional<std::string> ApplicationComputerName;    ///< The computer that it ran on.

    bool operator==(const CoreRecord&) const = default;
};

} // namespace Ardo::MetadataLib
