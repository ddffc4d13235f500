#pragma once

#include "Ardo/KilnExport.h"

#include <memory>
#include <optional>
#include <string>

namespace Ardo::MetadataLib
{

/// A detector of which no more is known than its name, and the base of those of which more is known.
///
/// Assigning a detector through a reference to its base would cut off the rest: lists hold DetectorPtr, which copies
/// and compares whole objects. The concrete classes are AnalyticalDetector, ImagingDetector and ScanningDetector. All
/// texts are UTF-8.
class KILN_EXPORT Detector
{
public:
    Detector() = default;
    virtual ~Detector();
    Detector(const Detector&) = default;
    Detector(Detector&&) = default;
    Detector& operator=(const Detector&) = default;
    Detector& operator=(Detector&&) = default;

    /// Compares the fields of this class only.
    bool operator==(const Detector&) const = default;

    /// A copy of the whole object, of the same class.
    /// \throws std::bad_alloc only.
    virtual std::unique_ptr<Detector> Clone() const;

    /// True if \p other is of the same class and has equal fields.
    virtual bool IsEqual(const Detector& other) const;

    std::string DetectorName; ///< For example "HAADF".
    /// Names the detector's element in documents and tells readers its class: "AnalyticalDetector",
    /// "ImagingDetector", "ScanningDetector"; any other name is read back as a Detector. Has to be there and to be an
    /// XML name without a colon, otherwise the metadata cannot be written.
    std::optional<std::string> DetectorType;
    std::optional<bool> Inserted; ///< In the beam.
    std::optional<bool> Enabled;  ///< Takes part in acquisitions.
};

} // namespace Ardo::MetadataLib
