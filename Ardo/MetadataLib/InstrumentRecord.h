#pragma once

#include <optional>
#include <string>

namespace Ardo::MetadataLib
{

/// The microscope that acquired the image, and its software. All texts are UTF-8.
struct InstrumentRecord
{
    std::optional<std::string> AcquisitionServer;        ///< Name of the acquisition server software.
    std::optional<std::string> AcquisitionServerVersion; ///< Its version.
    std::optional<std::string> ControlSoftware;          ///< Name of the instrument control software.
    std::optional<std::string> ControlSoftwareVersion;   ///< Its version.
    std::string Manufacturer;                            ///< Maker of the microscope.
    std::string InstrumentID;                            ///< Serial number or other identification.
    std::optional<std::string> InstrumentClass;          ///< Family of microscopes.
    std::optional<std::string> InstrumentModel;          ///< Model within the family.
    std::string ComputerName;                            ///< The computer that controls the microscope.

    bool operator==(const InstrumentRecord&) const = default;
};

} // namespace Ardo::MetadataLib
