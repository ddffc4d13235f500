// Builds a complete acquisition record, as an application does when a detector has delivered an image, and prints it as
// an XML document. The size and the grey values of the image are not part of it; the program that writes the image adds
// them.

#include "apps/Program/ProgramArguments.h"
#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Formatting/Parse.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/Types/Guid.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <chrono>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace
{

using namespace Ardo::MetadataLib;

/// The data of the image on the command line.
struct Image
{
    std::string description;
    std::int32_t width;
    std::int32_t height;
    double pixelSize; ///< In m.
};

Uuid NewUuid()
{
    return {Ardo::Kiln::Types::Guid::Generate().Bytes()};
}

TimePoint Now()
{
    // Documents contain milliseconds.
    return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

void DescribeOrigin(Metadata& metadata, const Image& image)
{
    metadata.Core.Guid = NewUuid();
    metadata.Core.ParentGuid = NewUuid();
    metadata.Core.FileDatetime = Now();
    metadata.Core.UserID = "a.rivera";
    metadata.Core.Comment = "Grid square 4, 低温 (cryo) session; contrast < 0.2 & ice \"thin\"";
    metadata.Core.ApplicationSoftware = "Orbex";
    metadata.Core.ApplicationSoftwareVersion = "4.2.0";
    metadata.Core.ApplicationComputerName = "orbex-07";

    metadata.Instrument.AcquisitionServer = "acquisition-1";
    metadata.Instrument.AcquisitionServerVersion = "7.7.0";
    metadata.Instrument.ControlSoftware = "Orbex Control";
    metadata.Instrument.ControlSoftwareVersion = "4.2.0";
    metadata.Instrument.Manufacturer = "Ardo";
    metadata.Instrument.InstrumentID = "3021";
    metadata.Instrument.InstrumentClass = "TEM";
    metadata.Instrument.InstrumentModel = "Orbex 200";
    metadata.Instrument.ComputerName = "column-3021";

    metadata.Acquisition.AcquisitionStartDatetime = Now() - std::chrono::seconds(2);
    metadata.Acquisition.AcquisitionDatetime = Now();
    metadata.Acquisition.AcquisitionID = NewUuid();
    metadata.Acquisition.BeamType = "Electron";
    metadata.Acquisition.ColumnType = "TEM";
    metadata.Acquisition.SourceType = "FieldEmission";

    metadata.Sample.SampleGuid = NewUuid();
    metadata.Sample.SampleID = "S-2041";
    metadata.Sample.SampleDescription = image.description;
    metadata.Sample.SampleSessionID = "2026-11";
    metadata.Sample.RegionOfInterestID = "ROI 4";
}

void DescribeColumn(Metadata& metadata, const Image& image)
{
    auto& optics = metadata.Optics;
    optics.GunLensSetting = 4.0;
    optics.ExtractorVoltage = 4.15e3;
    optics.GunShiftRaw = {0.012, -0.034};
    optics.GunTiltRaw = {0.001, 0.002};
    optics.AccelerationVoltage = 200e3;
    optics.SpotIndex = 5;
    optics.SpotSize = 5.2e-9;
    optics.C1LensIntensity = 0.18;
    optics.C2LensIntensity = 0.42;
    optics.ObjectiveLensIntensity = 0.87;
    optics.EmissionCurrent = 1.2e-4;
    optics.BeamCurrent = 1.1e-10;
    optics.BeamDiameter = 3.1e-6;
    optics.BeamConvergence = 1e-3;
    optics.ScreenCurrent = 9.5e-11;
    optics.LastMeasuredScreenCurrent = 9.6e-11;
    optics.IlluminationOn = true;
    optics.IlluminationType = "Parallel";
    optics.FullScanFieldOfView = {image.width * image.pixelSize, image.height * image.pixelSize};
    optics.ScanFieldOfView = optics.FullScanFieldOfView;
    optics.BeamTilt = {1e-4, -2e-4};
    optics.ImageShift = {2e-8, 0.0};
    optics.BeamShift = {-1e-8, 1e-8};
    optics.ObjectiveStigmatorRaw = {0.01, -0.02};
    optics.SphericalAberration = 1.2e-3;
    optics.Focus = 1.5e-6;
    optics.Defocus = -1.5e-6;
    optics.NominalMagnification = 6300.0;
    optics.OperatingMode = OpticsOperatingMode::TEM;
    optics.TEMOperatingSubMode = "BrightField";
    optics.ProjectorMode = OpticsProjectorMode::Imaging;
    optics.EFTEMOn = false;
    optics.ObjectiveLensMode = "HM";
    optics.IlluminationMode = "Parallel";
    optics.ProbeMode = OpticsProbeMode::Microprobe;
    optics.CameraLength = 0.62;
    optics.HighMagnificationMode = "None";
    Aperture condenser;
    condenser.Name = "C2";
    condenser.Number = 2;
    condenser.MechanismType = "Motorized";
    condenser.Type = "Circular";
    condenser.Diameter = 70e-6;
    Aperture objective = condenser;
    objective.Name = "Objective";
    objective.Number = 3;
    objective.Diameter = 100e-6;
    optics.Apertures = {condenser, objective};

    metadata.EnergyFilterSettings.EnergyShift = 0.0;
    metadata.EnergyFilterSettings.EnergySelectionSlitWidth = 20.0;
    metadata.EnergyFilterSettings.EnergySelectionSlitInserted = false;
    metadata.EnergyFilterSettings.EntranceApertureType = "Circular";

    metadata.VacuumProperties.SamplePressure = 1.3e-5;
    metadata.VacuumProperties.VacuumMode = "HighVacuum";
    metadata.VacuumProperties.ElectronColumnPressure = 4e-6;
    metadata.VacuumProperties.ProjectionChamberPressure = 2e-5;

    GasInjectionSystem gis;
    gis.PortNumber = 1;
    gis.PortName = "Port 1";
    gis.HeaterOn = false;
    gis.NeedleState = GasInjectionSystemNeedleState::Retracted;
    gis.Gases = {{.CrucibleTemperature = 301.15, .GasType = "Pt"}};
    metadata.GasInjectionSystems = {gis};
}

void DescribeStageAndScan(Metadata& metadata, const Image& image)
{
    metadata.StageSettings.StagePosition.X = 1.25e-4;
    metadata.StageSettings.StagePosition.Y = -3.1e-5;
    metadata.StageSettings.StagePosition.Z = 2e-6;
    metadata.StageSettings.StagePosition.Rotation = 0.0;
    metadata.StageSettings.StagePosition.Tilt.Alpha = 0.1;
    metadata.StageSettings.StagePosition.Tilt.Beta = -0.02;
    metadata.StageSettings.HolderType = "Single tilt cryo";
    metadata.StageSettings.HolderTemperature = 96.5;
    metadata.StageSettings.SampleLoader = "Cassette";

    metadata.ScanSettings.ScanSize = {image.width, image.height};
    metadata.ScanSettings.DwellTime = 2e-6;
    metadata.ScanSettings.MainsLockOn = true;
    metadata.ScanSettings.FrameTime = 0.726;
    metadata.ScanSettings.AcquisitionTime = 0.75;
    metadata.ScanSettings.ScanRotation = 0.0;
}

void DescribeDetection(Metadata& metadata, const Image& image)
{
    ImagingDetector camera;
    camera.DetectorName = "Camera-1";
    camera.DetectorType = "ImagingDetector";
    camera.Inserted = true;
    camera.Enabled = true;
    camera.ExposureMode = "Full";
    camera.Binning = {4, 4};
    camera.ReadoutArea = {0, 0, 4 * image.width, 4 * image.height};
    camera.ExposureTime = 0.5;
    camera.DarkGainCorrectionType = ImagingDetectorDarkGainCorrectionType::DarkGain;
    camera.Shutters = {{.Type = "PreSpecimen", .Position = "Open"}};

    ScanningDetector annular;
    annular.DetectorName = "HAADF";
    annular.DetectorType = "ScanningDetector";
    annular.Inserted = false;
    annular.Gain = 40.0;
    annular.CollectionAngleRange = {0.055, 0.2};

    AnalyticalDetector spectrometer;
    spectrometer.DetectorName = "EDS-1";
    spectrometer.DetectorType = "AnalyticalDetector";
    spectrometer.ElevationAngle = 0.31;
    spectrometer.ShutterState = AnalyticalDetectorShutterState::Closed;
    spectrometer.BeginEnergy = 0;

    metadata.Detectors = {camera, annular, spectrometer};

    auto& result = metadata.BinaryResult;
    result.AcquisitionUnit = "Camera-1";
    result.CompositionType = "Single";
    result.DetectorIndex = 0;
    result.Detector = "Camera-1";
    result.FilterType = "None";
    result.Gamma = 1.0;
    result.IntensityScale = CompleteQuantity{1.0, "e", 0};

    metadata.CustomProperties["Session.Name"] = std::string("Demo");
    metadata.CustomProperties["Session.Frames"] = std::int32_t{1};
    metadata.CustomProperties["Session.Dose"] = 23.5;
    metadata.CustomProperties["Session.Cryo"] = true;
}

} // namespace

int main(int argc, char** argv)
try
{
    using namespace Ardo::Kiln::MetadataSerializer;
    using Ardo::Kiln::Conversion::String;

    Ardo::Kiln::Program::UseBinaryStreams();
    const std::vector<std::string> arguments = Ardo::Kiln::Program::ProgramArguments(argc, argv);
    if (arguments.size() != 5)
    {
        std::cerr << "usage: acquisition_record DESCRIPTION WIDTH HEIGHT PIXEL_SIZE\n";
        return 2;
    }
    const Image image{arguments[1], std::stoi(arguments[2]), std::stoi(arguments[3]),
                      Ardo::Kiln::Formatting::ParseStrictly(String::FromUtf8(arguments[4]), L"m")};

    Metadata metadata;
    DescribeOrigin(metadata, image);
    DescribeColumn(metadata, image);
    DescribeStageAndScan(metadata, image);
    DescribeDetection(metadata, image);
    std::cout << Record(metadata).SerializeToString(SerializeType::Xml) << std::flush;
    return std::cout ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "acquisition_record: " << error.what() << '\n';
    return 1;
}
