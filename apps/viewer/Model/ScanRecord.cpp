#include "apps/viewer/Model/ScanSimulation.h"

#include "Ardo/Imaging/Histogram.h"
#include "Ardo/Kiln/System/Version.h"
#include "Ardo/Kiln/Types/Guid.h"
#include "Ardo/MetadataLib/ScanningDetector.h"

#include <QString>
#include <QSysInfo>

#include <chrono>

namespace Ardo::Kiln::Viewer
{

namespace
{

using MetadataLib::Metadata;

constexpr double FieldOfView = 58.85e-6; // m, of the micrograph's width

/// Documents contain milliseconds.
MetadataLib::TimePoint Milliseconds(MetadataLib::TimePoint time)
{
    return std::chrono::floor<std::chrono::milliseconds>(time);
}

void DescribeInstrument(Metadata& metadata)
{
    metadata.Core.Guid = {Types::Guid::Generate().Bytes()};
    metadata.Core.ApplicationSoftware = "Viewer";
    metadata.Core.ApplicationSoftwareVersion = System::LibraryVersion().ToText();
    metadata.Core.ApplicationComputerName = QSysInfo::machineHostName().toStdString();
    metadata.Core.Comment = "Simulated scan";
    metadata.Instrument.Manufacturer = "Ardo";
    metadata.Instrument.InstrumentID = "Simulation";
    metadata.Instrument.InstrumentModel = "Orbex 200";
    metadata.Instrument.ComputerName = QSysInfo::machineHostName().toStdString();
    metadata.Acquisition.AcquisitionID = {Types::Guid::Generate().Bytes()};
    metadata.Acquisition.BeamType = "Electron";
    metadata.Acquisition.ColumnType = "TEM";
    metadata.Acquisition.SourceType = "FieldEmission";
    metadata.Sample.SampleID = "S-2041";
    metadata.Sample.SampleDescription = "A cell";
}

void DescribeOptics(Metadata& metadata)
{
    metadata.Optics.AccelerationVoltage = 200e3;
    metadata.Optics.BeamCurrent = 1.1e-10;
    metadata.Optics.BeamConvergence = 22.5e-3;
    metadata.Optics.SpotIndex = 5;
    metadata.Optics.NominalMagnification = 2500.0;
    metadata.Optics.Defocus = -1.5e-6;
    metadata.Optics.WorkingDistance = 4.1e-3;
    metadata.Optics.OperatingMode = MetadataLib::OpticsOperatingMode::STEM;
    metadata.Optics.FullScanFieldOfView = {FieldOfView, FieldOfView};
    metadata.StageSettings.StagePosition.X = 125e-6;
    metadata.StageSettings.StagePosition.Y = -87.5e-6;
    metadata.StageSettings.StagePosition.Z = 3e-6;
    metadata.StageSettings.StagePosition.Tilt = {0.0, 0.0};
    metadata.StageSettings.HolderType = "Single tilt";
    MetadataLib::ScanningDetector detector;
    detector.DetectorName = "HAADF";
    detector.Inserted = true;
    detector.Enabled = true;
    detector.Signal = "DarkField";
    detector.CollectionAngleRange = {60e-3, 180e-3};
    metadata.Detectors.emplace_back(detector);
}

void DescribeValues(Metadata& metadata, const Imaging::const_raw_image& image)
{
    const Imaging::Histogram histogram(image);
    auto& result = metadata.BinaryResult;
    result.AcquisitionUnit = "Scan";
    result.CompositionType = "Single";
    result.Detector = "HAADF";
    result.DetectorIndex = 0;
    result.Encoding = "uint16";
    result.BitsPerPixel = 16;
    result.PixelValueMinimum = histogram.Minimum();
    result.PixelValueMaximum = histogram.Maximum();
    result.PixelValueMean = histogram.Mean();
    result.PixelValueStandardDeviation = histogram.StandardDeviation();
}

} // namespace

Metadata MakeScanRecord(const ScanSettings& settings, const Imaging::const_raw_image& image,
                        MetadataLib::TimePoint begin, MetadataLib::TimePoint end, std::uint32_t frames)
{
    Metadata metadata;
    DescribeInstrument(metadata);
    DescribeOptics(metadata);
    DescribeValues(metadata, image);
    metadata.Acquisition.AcquisitionStartDatetime = Milliseconds(begin);
    metadata.Acquisition.AcquisitionDatetime = Milliseconds(end);
    metadata.Core.FileDatetime = Milliseconds(end);

    const double pixelSize = FieldOfView / settings.side;
    const auto [width, height] = image.Size();
    metadata.BinaryResult.PixelSize = MetadataLib::PixelSizeRecord{{pixelSize, "m", 0}, {pixelSize, "m", 0}};
    metadata.BinaryResult.ImageSize = {static_cast<double>(width), static_cast<double>(height)};
    metadata.Optics.ScanFieldOfView = {pixelSize * width, pixelSize * height};
    metadata.ScanSettings.ScanSize = {static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
    metadata.ScanSettings.DwellTime = settings.dwellTime;
    metadata.ScanSettings.LineTime = settings.LineTime();
    metadata.ScanSettings.FrameTime = settings.LineTime() * settings.side;
    metadata.ScanSettings.AcquisitionTime = std::chrono::duration<double>(end - begin).count();
    metadata.ScanSettings.ScanRotation = 0.0;
    metadata.CustomProperties["Scan.CompleteFrames"] = frames;
    return metadata;
}

} // namespace Ardo::Kiln::Viewer
