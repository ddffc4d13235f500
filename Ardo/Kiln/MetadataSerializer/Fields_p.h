#pragma once

#include "Ardo/Kiln/MetadataSerializer/FieldName_p.h"
#include "Ardo/Kiln/MetadataSerializer/OriginAndExtent_p.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <concepts>
#include <string>
#include <type_traits>

namespace Ardo::Kiln::MetadataSerializer
{

// The fields of a document, in one list for writing and reading: VisitFields calls a visitor with each field of a
// record, in document order. A writer takes const records, a reader changeable ones.
//
// A new field is added to its struct in Ardo/MetadataLib, to the list below, and to share/ArdoMetadata.xsd in the same
// order. The tests cover a field only if tests/Support/FullMetadata.cpp and tests/Data/full.* have it; `kiln info`
// (apps/kiln/Info.cpp) shows only what it names.
//
// A visitor has
//
//   operator()(name, value)                     an element: a single value, an optional, an enumeration or a record
//   Attribute(name, value)                      an attribute in XML, an element in JSON
//   AttributeForOthers(name, value)             an attribute for other programs, which our reader ignores
//   OwnText(name, value)                        the text of the element itself in XML, an element in JSON
//   MayBeMissing(name, record)                  a record that is always written but that readers do not insist on
//   Converted(adapter, name, value)             a value whose form in documents differs from that in the model
//   List(name, itemName, items, WhenEmpty)      an element with one child for each item
//   Detectors(name, detectors), CustomProperties(properties)

/// How a list without items is written.
enum class WhenEmpty
{
    Written,
    LeftOut
};

template <typename T, typename U>
concept SameIgnoringConst = std::same_as<std::remove_const_t<T>, U>;

template <typename T>
concept AnySize2D =
    SameIgnoringConst<T, MetadataLib::Size2D<std::int32_t>> || SameIgnoringConst<T, MetadataLib::Size2D<double>>;

template <typename T>
concept AnyVector2 =
    SameIgnoringConst<T, MetadataLib::Vector2<std::int32_t>> || SameIgnoringConst<T, MetadataLib::Vector2<double>>;

template <typename T>
concept AnyOriginAndExtent =
    SameIgnoringConst<T, OriginAndExtent<std::int32_t>> || SameIgnoringConst<T, OriginAndExtent<double>>;

/// The extent of an image, which documents call "X" and "Y".
struct SizeAsXY
{
    using Document = MetadataLib::Vector2<double>;
    static Document ToDocument(const MetadataLib::Size2D<double>& value) { return {value.width, value.height}; }
    static MetadataLib::Size2D<double> FromDocument(const Document& value) { return {value.x, value.y}; }
};

/// The type of an aperture. One name is misspelled in the file format; readers depend on it.
struct ApertureTypeText
{
    using Document = std::string;
    static Document ToDocument(const std::string& value) { return value == "Circular" ? "Cicular" : value; }
    static std::string FromDocument(const Document& value) { return value == "Cicular" ? "Circular" : value; }
};

/// The fields that a detector of a derived class shares with all detectors.
inline const MetadataLib::Detector& BaseOf(const MetadataLib::Detector& detector)
{
    return detector;
}
inline MetadataLib::Detector& BaseOf(MetadataLib::Detector& detector)
{
    return detector;
}

template <SameIgnoringConst<MetadataLib::Range<double>> T, typename Visitor>
void VisitFields(T& value, Visitor& visit)
{
    visit("Begin"_field, value.begin);
    visit("End"_field, value.end);
}

template <AnySize2D T, typename Visitor>
void VisitFields(T& value, Visitor& visit)
{
    visit("Width"_field, value.width);
    visit("Height"_field, value.height);
}

template <AnyVector2 T, typename Visitor>
void VisitFields(T& value, Visitor& visit)
{
    visit("X"_field, value.x);
    visit("Y"_field, value.y);
}

template <SameIgnoringConst<MetadataLib::Vector3<double>> T, typename Visitor>
void VisitFields(T& value, Visitor& visit)
{
    visit("X"_field, value.x);
    visit("Y"_field, value.y);
    visit("Z"_field, value.z);
}

template <SameIgnoringConst<MetadataLib::TransformMatrix> T, typename Visitor>
void VisitFields(T& value, Visitor& visit)
{
    visit("a11"_field, value.a11);
    visit("a12"_field, value.a12);
    visit("a13"_field, value.a13);
    visit("a21"_field, value.a21);
    visit("a22"_field, value.a22);
    visit("a23"_field, value.a23);
}

template <AnyOriginAndExtent T, typename Visitor>
void VisitFields(T& value, Visitor& visit)
{
    visit("X"_field, value.x);
    visit("Y"_field, value.y);
    visit("Width"_field, value.width);
    visit("Height"_field, value.height);
}

template <SameIgnoringConst<MetadataLib::CoreRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("Guid"_field, record.Guid);
    visit("ParentGuid"_field, record.ParentGuid);
    visit("Md5Checksum"_field, record.Md5Checksum);
    visit("PrivateChecksum"_field, record.PrivateChecksum);
    visit("FileName"_field, record.FileName);
    visit("FileDatetime"_field, record.FileDatetime);
    visit("UserID"_field, record.UserID);
    visit("Comment"_field, record.Comment);
    visit("ApplicationSoftware"_field, record.ApplicationSoftware);
    visit("ApplicationSoftwareVersion"_field, record.ApplicationSoftwareVersion);
    visit("ApplicationComputerName"_field, record.ApplicationComputerName);
}

template <SameIgnoringConst<MetadataLib::InstrumentRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("AcquisitionServer"_field, record.AcquisitionServer);
    visit("AcquisitionServerVersion"_field, record.AcquisitionServerVersion);
    visit("ControlSoftware"_field, record.ControlSoftware);
    visit("ControlSoftwareVersion"_field, record.ControlSoftwareVersion);
    visit("Manufacturer"_field, record.Manufacturer);
    visit("InstrumentID"_field, record.InstrumentID);
    visit("InstrumentClass"_field, record.InstrumentClass);
    visit("InstrumentModel"_field, record.InstrumentModel);
    visit("ComputerName"_field, record.ComputerName);
}

template <SameIgnoringConst<MetadataLib::AcquisitionRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("AcquisitionStartDatetime"_field, record.AcquisitionStartDatetime);
    visit("AcquisitionDatetime"_field, record.AcquisitionDatetime);
    visit("AcquisitionID"_field, record.AcquisitionID);
    visit("BeamType"_field, record.BeamType);
    visit("ColumnType"_field, record.ColumnType);
    visit("SourceType"_field, record.SourceType);
}

template <SameIgnoringConst<MetadataLib::Aperture> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("Name"_field, record.Name);
    visit("Number"_field, record.Number);
    visit("MechanismType"_field, record.MechanismType);
    visit.Converted(ApertureTypeText(), "Type"_field, record.Type);
    visit("Diameter"_field, record.Diameter);
    visit("Index"_field, record.Index);
    visit("PositionOffset"_field, record.PositionOffset);
}

template <SameIgnoringConst<MetadataLib::OpticsRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("GunLensSetting"_field, record.GunLensSetting);
    visit("WehneltBias"_field, record.WehneltBias);
    visit("ExtractorVoltage"_field, record.ExtractorVoltage);
    visit("GunShiftRaw"_field, record.GunShiftRaw);
    visit("GunTiltRaw"_field, record.GunTiltRaw);
    visit("AccelerationVoltage"_field, record.AccelerationVoltage);
    visit("DecelerationVoltage"_field, record.DecelerationVoltage);
    visit("SpotIndex"_field, record.SpotIndex);
    visit("SpotSize"_field, record.SpotSize);
    visit("C1LensIntensity"_field, record.C1LensIntensity);
    visit("C2LensIntensity"_field, record.C2LensIntensity);
    visit("C3LensIntensity"_field, record.C3LensIntensity);
    visit("ObjectiveLensIntensity"_field, record.ObjectiveLensIntensity);
    visit("IntermediateLensIntensity"_field, record.IntermediateLensIntensity);
    visit("DiffractionLensIntensity"_field, record.DiffractionLensIntensity);
    visit("Projector1LensIntensity"_field, record.Projector1LensIntensity);
    visit("Projector2LensIntensity"_field, record.Projector2LensIntensity);
    visit("LorentzLensIntensity"_field, record.LorentzLensIntensity);
    visit("MiniCondenserLensIntensity"_field, record.MiniCondenserLensIntensity);
    visit("EmissionCurrent"_field, record.EmissionCurrent);
    visit("BeamCurrent"_field, record.BeamCurrent);
    visit("BeamCurrentSelected"_field, record.BeamCurrentSelected);
    visit("BeamDiameter"_field, record.BeamDiameter);
    visit("BeamConvergence"_field, record.BeamConvergence);
    visit("ScreenCurrent"_field, record.ScreenCurrent);
    visit("LastMeasuredScreenCurrent"_field, record.LastMeasuredScreenCurrent);
    visit("IlluminationOn"_field, record.IlluminationOn);
    visit("IlluminationType"_field, record.IlluminationType);
    visit("IlluminationIntensityNormalized"_field, record.IlluminationIntensityNormalized);
    visit("FullScanFieldOfView"_field, record.FullScanFieldOfView);
    visit("ScanFieldOfView"_field, record.ScanFieldOfView);
    visit("WorkingDistance"_field, record.WorkingDistance);
    visit("EucentricWorkingDistance"_field, record.EucentricWorkingDistance);
    visit("BeamTilt"_field, record.BeamTilt);
    visit("ImageShift"_field, record.ImageShift);
    visit("BeamShift"_field, record.BeamShift);
    visit("SampleTiltCorrectionOn"_field, record.SampleTiltCorrectionOn);
    visit("SamplePreTiltAngle"_field, record.SamplePreTiltAngle);
    visit("StigmatorRaw"_field, record.StigmatorRaw);
    visit("GunStigmatorRaw"_field, record.GunStigmatorRaw);
    visit("CondenserStigmatorRaw"_field, record.CondenserStigmatorRaw);
    visit("ObjectiveStigmatorRaw"_field, record.ObjectiveStigmatorRaw);
    visit("DiffractionStigmatorRaw"_field, record.DiffractionStigmatorRaw);
    visit("SphericalAberration"_field, record.SphericalAberration);
    visit("Focus"_field, record.Focus);
    visit("STEMFocus"_field, record.STEMFocus);
    visit("Defocus"_field, record.Defocus);
    visit("NominalMagnification"_field, record.NominalMagnification);
    visit("OperatingMode"_field, record.OperatingMode);
    visit("TEMOperatingSubMode"_field, record.TEMOperatingSubMode);
    visit("OpticalMode"_field, record.OpticalMode);
    visit("ProjectorMode"_field, record.ProjectorMode);
    visit("EFTEMOn"_field, record.EFTEMOn);
    visit("ObjectiveLensMode"_field, record.ObjectiveLensMode);
    visit("IlluminationMode"_field, record.IlluminationMode);
    visit("ProbeMode"_field, record.ProbeMode);
    visit("CameraLength"_field, record.CameraLength);
    visit("DiffractionFocus"_field, record.DiffractionFocus);
    visit("CrossOverOn"_field, record.CrossOverOn);
    visit("FibL0Voltage"_field, record.FibL0Voltage);
    visit("FibL1Voltage"_field, record.FibL1Voltage);
    visit("FibL2Voltage"_field, record.FibL2Voltage);
    visit("FibSteering"_field, record.FibSteering);
    visit("GunFilamentSetting"_field, record.GunFilamentSetting);
    visit("HighMagnificationMode"_field, record.HighMagnificationMode);
    visit.List("Apertures"_field, "Aperture"_field, record.Apertures, WhenEmpty::Written);
}

template <SameIgnoringConst<MetadataLib::EnergyFilterRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("AccelerationVoltageOffset"_field, record.AccelerationVoltageOffset);
    visit("DriftTubeVoltage"_field, record.DriftTubeVoltage);
    visit("EnergyShift"_field, record.EnergyShift);
    visit("EnergySelectionSlitWidth"_field, record.EnergySelectionSlitWidth);
    visit("EnergySelectionSlitInserted"_field, record.EnergySelectionSlitInserted);
    visit("EntranceApertureDiameter"_field, record.EntranceApertureDiameter);
    visit("EntranceApertureType"_field, record.EntranceApertureType);
}

template <SameIgnoringConst<MetadataLib::StageTiltRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("Alpha"_field, record.Alpha);
    visit("Beta"_field, record.Beta);
}

template <SameIgnoringConst<MetadataLib::StagePositionRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("X"_field, record.X);
    visit("Y"_field, record.Y);
    visit("Z"_field, record.Z);
    visit("Rotation"_field, record.Rotation);
    visit.MayBeMissing("Tilt"_field, record.Tilt);
}

template <SameIgnoringConst<MetadataLib::StageRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("StagePosition"_field, record.StagePosition);
    visit("HolderType"_field, record.HolderType);
    visit("HolderTemperature"_field, record.HolderTemperature);
    visit("SampleLoader"_field, record.SampleLoader);
}

template <SameIgnoringConst<MetadataLib::ScanRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("ScanSize"_field, record.ScanSize);
    visit("DwellTime"_field, record.DwellTime);
    visit.Converted(OriginAndExtentOf<double>(), "ScanArea"_field, record.ScanArea);
    visit("MainsLockOn"_field, record.MainsLockOn);
    visit("LineTime"_field, record.LineTime);
    visit("LineIntegrationCount"_field, record.LineIntegrationCount);
    visit("LineInterlacing"_field, record.LineInterlacing);
    visit("FrameTime"_field, record.FrameTime);
    visit("AcquisitionTime"_field, record.AcquisitionTime);
    visit("ScanRotation"_field, record.ScanRotation);
}

template <SameIgnoringConst<MetadataLib::VacuumRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("SamplePressure"_field, record.SamplePressure);
    visit("VacuumMode"_field, record.VacuumMode);
    visit("ElectronSourcePressure"_field, record.ElectronSourcePressure);
    visit("IonSourcePressure"_field, record.IonSourcePressure);
    visit("ElectronColumnPressure"_field, record.ElectronColumnPressure);
    visit("IonColumnPressure"_field, record.IonColumnPressure);
    visit("ProjectionChamberPressure"_field, record.ProjectionChamberPressure);
}

template <SameIgnoringConst<MetadataLib::Gas> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("CrucibleTemperature"_field, record.CrucibleTemperature);
    visit("GasType"_field, record.GasType);
}

template <SameIgnoringConst<MetadataLib::GasInjectionSystem> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("PortNumber"_field, record.PortNumber);
    visit("PortName"_field, record.PortName);
    visit("HeaterOn"_field, record.HeaterOn);
    visit("GasFlowOn"_field, record.GasFlowOn);
    visit("NeedleState"_field, record.NeedleState);
    visit("NeedleTemperature"_field, record.NeedleTemperature);
    visit.List("Gases"_field, "Gas"_field, record.Gases, WhenEmpty::Written);
}

template <SameIgnoringConst<MetadataLib::SampleRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("SampleGuid"_field, record.SampleGuid);
    visit("SampleID"_field, record.SampleID);
    visit("SampleDescription"_field, record.SampleDescription);
    visit("SampleSessionID"_field, record.SampleSessionID);
    visit("RegionOfInterestID"_field, record.RegionOfInterestID);
}

template <SameIgnoringConst<MetadataLib::Detector> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("DetectorName"_field, record.DetectorName);
    visit("DetectorType"_field, record.DetectorType);
    visit("Inserted"_field, record.Inserted);
    visit("Enabled"_field, record.Enabled);
}

template <SameIgnoringConst<MetadataLib::AnalyticalDetector> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    VisitFields(BaseOf(record), visit);
    visit("MixContribution"_field, record.MixContribution);
    visit("ElevationAngle"_field, record.ElevationAngle);
    visit("AzimuthAngle"_field, record.AzimuthAngle);
    visit("CollectionAngle"_field, record.CollectionAngle);
    visit("Dispersion"_field, record.Dispersion);
    visit("PulseProcessTime"_field, record.PulseProcessTime);
    visit("RealTime"_field, record.RealTime);
    visit("LiveTime"_field, record.LiveTime);
    visit("InputCountRate"_field, record.InputCountRate);
    visit("OutputCountRate"_field, record.OutputCountRate);
    visit("ShutterState"_field, record.ShutterState);
    visit("OffsetEnergy"_field, record.OffsetEnergy);
    visit("ElectronicsNoise"_field, record.ElectronicsNoise);
    visit("BeginEnergy"_field, record.BeginEnergy);
}

template <SameIgnoringConst<MetadataLib::Shutter> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit.Attribute("type"_field, record.Type);
    visit.Attribute("position"_field, record.Position);
}

template <SameIgnoringConst<MetadataLib::ImagingDetector> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    VisitFields(BaseOf(record), visit);
    visit("ExposureMode"_field, record.ExposureMode);
    visit("Gain"_field, record.Gain);
    visit("Binning"_field, record.Binning);
    visit.Converted(OriginAndExtentOf<std::int32_t>(), "ReadoutArea"_field, record.ReadoutArea);
    visit("ExposureTime"_field, record.ExposureTime);
    visit("ExposureTime2"_field, record.ExposureTime2);
    visit("PreExposureTime"_field, record.PreExposureTime);
    visit("PreExposurePauseTime"_field, record.PreExposurePauseTime);
    visit("DarkGainCorrectionType"_field, record.DarkGainCorrectionType);
    visit("ScintillatorPixelSize"_field, record.ScintillatorPixelSize);
    visit("PostMagnification"_field, record.PostMagnification);
    visit.List("Shutters"_field, "Shutter"_field, record.Shutters, WhenEmpty::LeftOut);
}

template <SameIgnoringConst<MetadataLib::ScanningDetector> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    VisitFields(BaseOf(record), visit);
    visit("MixContribution"_field, record.MixContribution);
    visit("Signal"_field, record.Signal);
    visit("Segments"_field, record.Segments);
    visit("Gain"_field, record.Gain);
    visit("Offset"_field, record.Offset);
    visit("EnhancedGain"_field, record.EnhancedGain);
    visit("ContrastNormalized"_field, record.ContrastNormalized);
    visit("BrightnessNormalized"_field, record.BrightnessNormalized);
    visit("GridVoltage"_field, record.GridVoltage);
    visit("SuctionTubeVoltage"_field, record.SuctionTubeVoltage);
    visit("FrontEndVoltage"_field, record.FrontEndVoltage);
    visit("ConvertorElectrodeVoltage"_field, record.ConvertorElectrodeVoltage);
    visit("ScintillatorVoltage"_field, record.ScintillatorVoltage);
    visit("CollectionAngleRange"_field, record.CollectionAngleRange);
}

template <SameIgnoringConst<MetadataLib::Quantity> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit.Attribute("unit"_field, record.Unit);
    visit.Attribute("unitPrefixPower"_field, record.UnitPrefixPower);
    visit.OwnText("value"_field, record.Value);
}

template <SameIgnoringConst<MetadataLib::CompleteQuantity> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit.Attribute("unit"_field, record.Unit);
    visit.Attribute("unitPrefixPower"_field, record.UnitPrefixPower);
    visit.OwnText("value"_field, record.Value);
}

template <SameIgnoringConst<MetadataLib::PixelSizeRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("X"_field, record.X);
    visit("Y"_field, record.Y);
}

template <SameIgnoringConst<MetadataLib::BinaryResultRecord> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("AcquisitionUnit"_field, record.AcquisitionUnit);
    visit("CompositionType"_field, record.CompositionType);
    visit.Converted(SizeAsXY(), "ImageSize"_field, record.ImageSize);
    visit("DetectorIndex"_field, record.DetectorIndex);
    visit("Detector"_field, record.Detector);
    visit("FilterType"_field, record.FilterType);
    visit("RecursiveFilterCoefficient"_field, record.RecursiveFilterCoefficient);
    visit("FilterFrameCount"_field, record.FilterFrameCount);
    visit("PixelSize"_field, record.PixelSize);
    visit("Offset"_field, record.Offset);
    visit("IntensityScale"_field, record.IntensityScale);
    visit("IntensityOffset"_field, record.IntensityOffset);
    visit("BlackLevel"_field, record.BlackLevel);
    visit("WhiteLevel"_field, record.WhiteLevel);
    visit("Gamma"_field, record.Gamma);
    visit("Sigma"_field, record.Sigma);
    visit("Encoding"_field, record.Encoding);
    visit("BitsPerPixel"_field, record.BitsPerPixel);
    visit("PixelValueMaximum"_field, record.PixelValueMaximum);
    visit("PixelValueMinimum"_field, record.PixelValueMinimum);
    visit("PixelValueMean"_field, record.PixelValueMean);
    visit("PixelValueStandardDeviation"_field, record.PixelValueStandardDeviation);
    visit("Sharpness"_field, record.Sharpness);
    visit("SharpnessAlgorithm"_field, record.SharpnessAlgorithm);
    visit("DigitalContrast"_field, record.DigitalContrast);
    visit("DigitalBrightness"_field, record.DigitalBrightness);
    visit("ReferenceTransformation"_field, record.ReferenceTransformation);
    visit.Converted(OriginAndExtentOf<double>(), "AcquisitionArea"_field, record.AcquisitionArea);
}

template <SameIgnoringConst<MetadataLib::Metadata> T, typename Visitor>
void VisitFields(T& record, Visitor& visit)
{
    visit("Core"_field, record.Core);
    visit.MayBeMissing("Instrument"_field, record.Instrument);
    visit("Acquisition"_field, record.Acquisition);
    visit.MayBeMissing("Optics"_field, record.Optics);
    visit.MayBeMissing("EnergyFilterSettings"_field, record.EnergyFilterSettings);
    visit("StageSettings"_field, record.StageSettings);
    visit("ScanSettings"_field, record.ScanSettings);
    visit.MayBeMissing("VacuumProperties"_field, record.VacuumProperties);
    visit.List("GasInjectionSystems"_field, "Gis"_field, record.GasInjectionSystems, WhenEmpty::LeftOut);
    visit.Detectors("Detectors"_field, record.Detectors);
    visit.MayBeMissing("BinaryResult"_field, record.BinaryResult);
    visit.MayBeMissing("Sample"_field, record.Sample);
    visit.CustomProperties("CustomPropertyGroup"_field, record.CustomProperties);
}

} // namespace Ardo::Kiln::MetadataSerializer
