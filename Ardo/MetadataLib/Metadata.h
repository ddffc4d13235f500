#pragma once

#include "Ardo/MetadataLib/AcquisitionRecord.h"
#include "Ardo/MetadataLib/AnalyticalDetector.h"
#include "Ardo/MetadataLib/BinaryResultRecord.h"
#include "Ardo/MetadataLib/CoreRecord.h"
#include "Ardo/MetadataLib/CustomProperty.h"
#include "Ardo/MetadataLib/DetectorPtr.h"
#include "Ardo/MetadataLib/EnergyFilterRecord.h"
#include "Ardo/MetadataLib/GasInjectionSystem.h"
#include "Ardo/MetadataLib/ImagingDetector.h"
#include "Ardo/MetadataLib/InstrumentRecord.h"
#include "Ardo/MetadataLib/OpticsRecord.h"
#include "Ardo/MetadataLib/SampleRecord.h"
#include "Ardo/MetadataLib/ScanningDetector.h"
#include "Ardo/MetadataLib/ScanRecord.h"
#include "Ardo/MetadataLib/StageRecord.h"
#include "Ardo/MetadataLib/VacuumRecord.h"

#include <vector>

namespace Ardo::MetadataLib
{

/// The acquisition record of an image: everything that is known about it, as a tree of plain values.
///
/// The fields have the names of the elements of the metadata document. An empty optional, an empty list and the
/// enumerator Unset mean that a value is not given. Numbers are in SI base units. Copies are deep. Fields are compared
/// one by one, so a record that contains a NaN differs from its own copy.
///
///     Metadata metadata;
///     metadata.Instrument.Manufacturer = "Maker";
///     metadata.BinaryResult.PixelSize = {.X = {2.5e-10, "m", 0}, .Y = {2.5e-10, "m", 0}};
struct Metadata
{
    CoreRecord Core;                                     ///< Identity of the image.
    InstrumentRecord Instrument;                         ///< The microscope.
    AcquisitionRecord Acquisition;                       ///< Time and beam.
    OpticsRecord Optics;                                 ///< Gun, lenses, deflectors, apertures.
    EnergyFilterRecord EnergyFilterSettings;             ///< The energy filter.
    StageRecord StageSettings;                           ///< The stage.
    ScanRecord ScanSettings;                             ///< The scan.
    VacuumRecord VacuumProperties;                       ///< Pressures.
    std::vector<GasInjectionSystem> GasInjectionSystems; ///< Gas injection systems, by port.
    DetectorList Detectors;                              ///< Detectors that took part.
    BinaryResultRecord BinaryResult;                     ///< Meaning of the pixels.
    SampleRecord Sample;                                 ///< The sample.
    CustomPropertyMap CustomProperties;                  ///< Values that the application adds.

    bool operator==(const Metadata&) const = default;
};

} // namespace Ardo::MetadataLib
