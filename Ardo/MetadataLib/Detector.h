#pragma once

#include "Ardo/KilnExport.h"

#include <memory>
#include <optional>
#include <string>

namespace Ardo::MetadataLib
{

/// A detector of no special kind, and the base of AnalyticalDetector, ImagingDetector and ScanningDetector.
///
/// An assignment through a reference to the base slices the object. Lists therefore hold DetectorPtr, which copies and
/// compares whole objects. All texts are UTF-8.
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
    /// The name of the detector's element in documents, which decides the class on reading: "AnalyticalDetector",
    /// "ImagingDetector" or "ScanningDetector". Any other name is read as a Detector. Metadata can be written only if
    /// the name is given and is an XML name without a colon.
    std::optional<std::string> DetectorType;
    std::optional<bool> Inserted; ///< The detector is in the beam.
    std::optional<bool> Enabled;  ///< The detector is used in acquisitions.
};

} // namespace Ardo::MetadataLib
