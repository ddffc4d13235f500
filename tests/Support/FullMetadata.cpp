#include "tests/Support/FullMetadata.h"

#include <limits>

namespace Ardo::Kiln::Support
{

namespace
{

using namespace MetadataLib;
using std::chrono::milliseconds;

/// A different identifier for each \p seed.
Uuid MakeUuid(std::uint8_t seed)
{
    Uuid uuid;
    for (std::size_t i = 0; i < uuid.bytes.size(); ++i)
    {
        uuid.bytes[i] = static_cast<std::uint8_t>(seed + 17 * i);
    }
    return uuid;
}

TimePoint MakeTime(std::int64_t millisecondsSinceEpoch)
{
    return TimePoint(milliseconds(millisecondsSinceEpoch));
}

void FillIdentity(Metadata& metadata)
{
    CoreRecord& core = metadata.Core;
    core.Guid = MakeUuid(1);
    core.ParentGuid = MakeUuid(2);
    core.Md5Checksum = "d41d8cd98f00b204e9800998ecf8427e";
    core.PrivateChecksum = "";
    core.FileName = "C:\\Data\\Überlagerung & <Zelle> \"7\".tif";
    core.FileDatetime = MakeTime(1'700'000'000'123);
    core.UserID = "o'neill";
    core.Comment = "  two blanks, a tab\tand \r\n line breaks\n日本語 𝄞 🔬 e\u0301 ]]> <!-- & --> / ";
    core.ApplicationSoftware = "Orbex";
    core.ApplicationSoftwareVersion = "3.2.1";
    core.ApplicationComputerName = "   ";

    metadata.Instrument = {"Server", "1.0", "Control", "2.0", "Ardo", "4711", "Transmission", "Kiln 300", "scope-pc"};
    metadata.Acquisition = {
        MakeTime(1'699'999'990'000), MakeTime(1'699'999'999'999), MakeUuid(3), "Electron", "TEM", "FEG"};
    metadata.Sample = {MakeUuid(4), "S-12", "Grid \t with tab", "2023-11", "R0"};
}

void FillOptics(OpticsRecord& optics)
{
    optics.GunLensSetting = 1.2e-1;
    optics.WehneltBias = -250.5;
    optics.ExtractorVoltage = 3.4e-3;
    optics.GunShiftRaw = Vector2<double>{4.5e-7, -4.25e-8};
    optics.GunTiltRaw = Vector2<double>{5.5e-7, -5.25e-8};
    optics.AccelerationVoltage = 300000.0;
    optics.DecelerationVoltage = -4000.0;
    optics.SpotIndex = -8;
    optics.SpotSize = 1e-9;
    optics.C1LensIntensity = 10.2e-10;
    optics.C2LensIntensity = 11.3e-11;
    optics.C3LensIntensity = 12.4e-0;
    optics.ObjectiveLensIntensity = 13.5e-1;
    optics.IntermediateLensIntensity = 14.6e-2;
    optics.DiffractionLensIntensity = 15.7e-3;
    optics.Projector1LensIntensity = 16.8e-4;
    optics.Projector2LensIntensity = 17.9e-5;
    optics.LorentzLensIntensity = 18.1e-6;
    optics.MiniCondenserLensIntensity = 19.2e-7;
    optics.EmissionCurrent = 4.1e-6;
    optics.BeamCurrent = 1.25e-10;
    optics.BeamCurrentSelected = 22.5e-10;
    optics.BeamDiameter = 23.6e-11;
    optics.BeamConvergence = 24.7e-0;
    optics.ScreenCurrent = 25.8e-1;
    optics.LastMeasuredScreenCurrent = 26.9e-2;
    optics.IlluminationOn = true;
    optics.IlluminationType = "IlluminationType é中";
    optics.IlluminationIntensityNormalized = 29.3e-5;
    optics.FullScanFieldOfView = Vector2<double>{30.5e-7, -30.25e-8};
    optics.ScanFieldOfView = Vector2<double>{31.5e-7, -31.25e-8};
    optics.WorkingDistance = 0.1;
    optics.EucentricWorkingDistance = 33.7e-9;
    optics.BeamTilt = Vector2<double>{34.5e-7, -34.25e-8};
    optics.ImageShift = Vector2<double>{35.5e-7, -35.25e-8};
    optics.BeamShift = Vector2<double>{36.5e-7, -36.25e-8};
    optics.SampleTiltCorrectionOn = true;
    optics.SamplePreTiltAngle = 38.3e-2;
    optics.StigmatorRaw = Vector2<double>{39.5e-7, -39.25e-8};
    optics.GunStigmatorRaw = Vector2<double>{40.5e-7, -40.25e-8};
    optics.CondenserStigmatorRaw = Vector2<double>{41.5e-7, -41.25e-8};
    optics.ObjectiveStigmatorRaw = Vector2<double>{42.5e-7, -42.25e-8};
    optics.DiffractionStigmatorRaw = Vector2<double>{43.5e-7, -43.25e-8};
    optics.SphericalAberration = 0.0027;
    optics.Focus = 45.1e-9;
    optics.STEMFocus = 46.2e-10;
    optics.Defocus = -1e-6;
    optics.NominalMagnification = 225000.0;
    optics.OpticalMode = "OpticalMode é中";
    optics.EFTEMOn = false;
    optics.CameraLength = 0.115;
    optics.DiffractionFocus = 52.8e-4;
    optics.CrossOverOn = true;
    optics.FibL0Voltage = 54.1e-6;
    optics.FibL1Voltage = 55.2e-7;
    optics.FibL2Voltage = 56.3e-8;
    optics.FibSteering = Vector2<double>{57.5e-7, -57.25e-8};
    optics.GunFilamentSetting = 58.5e-10;
    optics.OperatingMode = OpticsOperatingMode::STEM;
    optics.TEMOperatingSubMode = "BrightField";
    optics.ProjectorMode = OpticsProjectorMode::Imaging;
    optics.ObjectiveLensMode = "HM";
    optics.IlluminationMode = "Parallel";
    optics.ProbeMode = OpticsProbeMode::Nanoprobe;
    optics.HighMagnificationMode = "SA";
    optics.Apertures = {{"C1", 1, "Motorized", "Circular", 7e-5, 2, Vector2<double>{1e-6, -2e-6}},
                        {"OBJ", 2, "Manual", "Slit", 3e-5, 1, Vector2<double>{0.0, -0.0}}};
}

void FillColumn(Metadata& metadata)
{
    metadata.EnergyFilterSettings = {1.5, -20.0, 0.1, 10.0, true, 0.0025, "Circular"};
    metadata.StageSettings = {{1e-3, -2e-3, 3.3e-5, 0.7, {0.26, -0.01}}, "Double tilt", 90.15, "Autoloader"};

    ScanRecord& scan = metadata.ScanSettings;
    scan.ScanSize = {4096, 2048};
    scan.DwellTime = 1e-6;
    scan.ScanArea = Rectangle<double>{0.25, 0.125, 0.75, 0.5};
    scan.MainsLockOn = false;
    scan.LineTime = 0.0043;
    scan.LineIntegrationCount = 4;
    scan.LineInterlacing = 2;
    scan.FrameTime = 8.8;
    scan.AcquisitionTime = 35.2;
    scan.ScanRotation = -1.5707963267948966;

    metadata.VacuumProperties = {.SamplePressure = 1e-5,
                                 .VacuumMode = "HighVacuum",
                                 .ElectronSourcePressure = 2e-7,
                                 .IonSourcePressure = 3e-5,
                                 .ElectronColumnPressure = 4e-6,
                                 .IonColumnPressure = 5e-4,
                                 .ProjectionChamberPressure = 6e-3};
    metadata.GasInjectionSystems = {
        {1, "Port A", true, false, GasInjectionSystemNeedleState::Inserted, 303.15, {{301.0, "Pt"}, {302.0, "W"}}},
        {2, "Port B", false, true, GasInjectionSystemNeedleState::MaskOnline, 293.15, {{299.5, "C"}}}};
}

void FillDetectors(DetectorList& detectors)
{
    const auto fillBase = [](Detector& detector, const char* name)
    {
        detector.DetectorName = name;
        detector.Inserted = true;
        detector.Enabled = false;
    };

    AnalyticalDetector analytical;
    fillBase(analytical, "EDX 1");
    analytical.MixContribution = 0.5;
    analytical.ElevationAngle = 0.31;
    analytical.AzimuthAngle = 0.79;
    analytical.CollectionAngle = 0.9;
    analytical.Dispersion = 5.0;
    analytical.PulseProcessTime = 3e-6;
    analytical.RealTime = 60.0;
    analytical.LiveTime = 55.5;
    analytical.InputCountRate = 12345.678;
    analytical.OutputCountRate = 9876.5;
    analytical.ShutterState = AnalyticalDetectorShutterState::Opened;
    analytical.OffsetEnergy = -250.0;
    analytical.ElectronicsNoise = 31.0;
    analytical.BeginEnergy = std::numeric_limits<std::int32_t>::min();
    detectors.push_back(analytical);
    fillBase(analytical, "EDX 2"); // a second one of the same type
    analytical.BeginEnergy = 100;
    detectors.push_back(analytical);

    ImagingDetector imaging;
    fillBase(imaging, "Camera");
    imaging.ExposureMode = "Simultaneous";
    imaging.Gain = 1.0;
    imaging.Binning = {2, 4};
    imaging.ReadoutArea = {10, 20, 110, 70};
    imaging.ExposureTime = 0.1;
    imaging.ExposureTime2 = 0.2;
    imaging.PreExposureTime = 0.3;
    imaging.PreExposurePauseTime = 0.4;
    imaging.DarkGainCorrectionType = ImagingDetectorDarkGainCorrectionType::DarkGain;
    imaging.ScintillatorPixelSize = Vector2<double>{1.4e-5, 1.5e-5};
    imaging.PostMagnification = 1.342;
    imaging.Shutters = {{"Electrostatic", "PreSpecimen"}, {"a\nb\tc\rd", "<&>\"' "}};
    detectors.push_back(imaging);

    ScanningDetector scanning;
    fillBase(scanning, "HAADF");
    scanning.MixContribution = 1.0;
    scanning.Signal = "BSE";
    scanning.Segments = "A+B";
    scanning.Gain = 2.5;
    scanning.Offset = -0.125;
    scanning.EnhancedGain = 4.0;
    scanning.ContrastNormalized = 0.55;
    scanning.BrightnessNormalized = 0.45;
    scanning.GridVoltage = 250.0;
    scanning.SuctionTubeVoltage = 10.0;
    scanning.FrontEndVoltage = 11.0;
    scanning.ConvertorElectrodeVoltage = 12.0;
    scanning.ScintillatorVoltage = 10000.0;
    scanning.CollectionAngleRange = Range<double>{0.03, 0.2};
    detectors.push_back(scanning);

    Detector other;
    fillBase(other, "Screen");
    other.DetectorType = "蛍光.Screen-2";
    detectors.push_back(other);
}

void FillBinaryResult(BinaryResultRecord& result)
{
    result.AcquisitionUnit = "Camera";
    result.CompositionType = "Single";
    result.ImageSize = Size2D<double>{660.0, 550.0};
    result.DetectorIndex = 2;
    result.Detector = "Camera";
    result.FilterType = "Averaging";
    result.RecursiveFilterCoefficient = 0.25;
    result.FilterFrameCount = 8;
    result.PixelSize = PixelSizeRecord{{2.5e-10, "m", 0}, {2.5e-10, "m", 0}};
    result.Offset = Vector2<double>{1e-8, -1e-8};
    result.IntensityScale = CompleteQuantity{0.5, "e", 0};
    result.IntensityOffset = 12.0;
    result.BlackLevel = 3.0;
    result.WhiteLevel = 250.0;
    result.Gamma = 1.0;
    result.Sigma = 3.0;
    result.Encoding = "uint8";
    result.BitsPerPixel = 8;
    result.PixelValueMaximum = 255.0;
    result.PixelValueMinimum = 0.0;
    result.PixelValueMean = 127.123456789;
    result.PixelValueStandardDeviation = 33.3;
    result.Sharpness = 1.7976931348623157e308;
    result.SharpnessAlgorithm = "Gradient";
    result.DigitalContrast = 4.9406564584124654e-324;
    result.DigitalBrightness = 0.1;
    result.ReferenceTransformation = TransformMatrix{1.1, 0.2, 0.3e-6, -0.4, 1.5, -0.6e-6};
    result.AcquisitionArea = Rectangle<double>{0.0, 0.0, 1.0, 1.0};
}

void FillCustomProperties(CustomPropertyMap& properties)
{
    properties["int32"] = std::numeric_limits<std::int32_t>::min();
    properties["uint32"] = std::numeric_limits<std::uint32_t>::max();
    properties["long"] = Long{-5};
    properties["ulong"] = ULong{4'000'000'000};
    properties["int64"] = std::numeric_limits<std::int64_t>::min();
    properties["uint64"] = std::numeric_limits<std::uint64_t>::max();
    properties["float"] = 0.1F;
    properties["double"] = -1234.5678;
    properties["string"] = " 値 <\"&'> ";
    properties["bool"] = true;
    properties["Detectors[1].Name \"with\" <every> & thing 名"] = false;
    properties[""] = "";
}

} // namespace

Metadata FullMetadata()
{
    Metadata metadata;
    FillIdentity(metadata);
    FillOptics(metadata.Optics);
    FillColumn(metadata);
    FillDetectors(metadata.Detectors);
    FillBinaryResult(metadata.BinaryResult);
    FillCustomProperties(metadata.CustomProperties);
    return metadata;
}

Metadata MinimalMetadata()
{
    Metadata metadata;
    metadata.Core.Guid = MakeUuid(9);
    metadata.Instrument.Manufacturer = "Ardo";
    metadata.Instrument.InstrumentID = "4711";
    metadata.Instrument.ComputerName = "scope-pc";
    metadata.Acquisition.AcquisitionDatetime = MakeTime(1'700'000'000'000);
    metadata.ScanSettings.ScanSize = {512, 256};
    return metadata;
}

} // namespace Ardo::Kiln::Support
