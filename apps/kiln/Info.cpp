#include "apps/kiln/Commands.h"
#include "apps/kiln/FactText.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Json.h"
#include "apps/kiln/QuantityText.h"
#include "apps/kiln/Record.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Formatting/MicroscopeQuantities.h"
#include "Ardo/Kiln/Formatting/Units.h"
#include "Ardo/Kiln/ImageIO/ImageFile.h"
#include "Ardo/Kiln/ImageIO/ReadImageException.h"
#include "Ardo/Kiln/ImageIO/TiffReader.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/Time/IsoString.h"

#include <QJsonArray>

#include <limits>
#include <vector>

namespace Ardo::Kiln::Tool
{

namespace
{

using MetadataLib::Metadata;
using namespace Formatting; // the functions of quantities

constexpr double NotGiven = std::numeric_limits<double>::quiet_NaN();

std::string Text(const std::wstring& text)
{
    return Conversion::String::ToUtf8(text);
}

const wchar_t* Switch(const std::optional<bool>& state, const wchar_t* on, const wchar_t* off)
{
    return !state ? L"" : *state ? on : off;
}

/// The space that pixels of this unit show; empty if the unit of the record is another one.
std::optional<PixelSpace> SpaceOf(const std::string& unit)
{
    return unit == Text(Units::Metre)                       ? std::optional(PixelSpace::Real)
           : unit == Text(Units::PerMetre) || unit == "1/m" ? std::optional(PixelSpace::Reciprocal)
           : unit == Text(Units::Radian)                    ? std::optional(PixelSpace::Angle)
                                                            : std::nullopt;
}

/// Two extents in the space of the image.
std::string Area(double x, double y, const std::string& unitX, const std::string& unitY, bool isField)
{
    const auto space = unitX == unitY ? SpaceOf(unitX) : std::nullopt;
    if (!space)
    {
        return QuantityText(x, unitX) + " x " + QuantityText(y, unitY);
    }
    return Text(isField && *space == PixelSpace::Real ? FormatFieldOfView(x, y) : FormatPixelSize(x, y, *space));
}

std::string KindText(const ImageIO::TiffReader& reader)
{
    const bool isFloat = reader.GetSampleFormat() == ImageIO::TiffSampleFormat::FloatingPoint;
    std::string kind = std::to_string(reader.GetBitsPerSample()) + " bit" + (isFloat ? " float" : "");
    switch (reader.GetSamplesPerPixel())
    {
    case 1:
        return kind;
    case 3:
        return "RGB, " + kind + " a sample";
    case 4:
        return "RGBA, " + kind + " a sample";
    default:
        return std::to_string(reader.GetSamplesPerPixel()) + " samples a pixel, " + kind + " a sample";
    }
}

void DescribeImage(FactText& report, const ImageIO::TiffReader& reader, std::uint32_t pageCount)
{
    report.Section("Image");
    report.Line({FormatImageSize(reader.GetImageWidth(), reader.GetImageHeight()), KindText(reader)});
    report.Line(reader.GetStripCount() == 0 ? "tiles"
                                            : std::to_string(reader.GetStripCount()) +
                                                  (reader.GetStripCount() == 1 ? " strip of " : " strips of ") +
                                                  std::to_string(reader.GetRowsPerStrip()) + " rows");
    if (pageCount > 1)
    {
        report.Line("the first of " + std::to_string(pageCount) + " pages");
    }
}

void DescribePixels(FactText& report, const ImageIO::TiffReader& reader, const Metadata& metadata)
{
    const auto& result = metadata.BinaryResult;
    report.Section("Pixel size");
    if (!result.PixelSize)
    {
        report.Line("-");
    }
    else
    {
        const double x = InBaseUnit(result.PixelSize->X);
        const double y = InBaseUnit(result.PixelSize->Y);
        const std::string unitX = result.PixelSize->X.Unit.value_or("");
        const std::string unitY = result.PixelSize->Y.Unit.value_or("");
        report.Line(Area(x, y, unitX, unitY, false));
        report.Section("Field of view");
        report.Line(Area(x * reader.GetImageWidth(), y * reader.GetImageHeight(), unitX, unitY, true));
    }
    if (result.PixelValueMinimum || result.PixelValueMaximum)
    {
        report.Section("Grey values");
        const auto grey = [](const std::optional<double>& value) { return QuantityText(value.value_or(NotGiven), ""); };
        report.Line({grey(result.PixelValueMinimum) + " to " + grey(result.PixelValueMaximum),
                     {"mean", grey(result.PixelValueMean)},
                     {"standard deviation", grey(result.PixelValueStandardDeviation)}});
    }
}

void DescribeOrigin(FactText& report, const Metadata& metadata)
{
    report.Section("Acquired");
    report.Line({Time::ToUtcTimeISOString(metadata.Acquisition.AcquisitionDatetime),
                 {"by", metadata.Core.UserID},
                 metadata.Acquisition.BeamType});
    report.Section("Comment");
    report.Line({metadata.Core.Comment});
    report.Section("Software");
    const std::string version = metadata.Core.ApplicationSoftwareVersion.value_or("");
    std::string software = metadata.Core.ApplicationSoftware.value_or("");
    software += software.empty() ? "-" : version.empty() ? "" : " " + version;
    report.Line({software, {"on", metadata.Core.ApplicationComputerName}});
    report.Section("Instrument");
    report.Line({metadata.Instrument.Manufacturer,
                 metadata.Instrument.InstrumentModel,
                 {"id", metadata.Instrument.InstrumentID}});
    report.Section("Sample");
    report.Line(
        {metadata.Sample.SampleID, metadata.Sample.SampleDescription, {"region", metadata.Sample.RegionOfInterestID}});
}

void DescribeColumn(FactText& report, const Metadata& metadata)
{
    const auto& optics = metadata.Optics;
    const char* mode = optics.OperatingMode == MetadataLib::OpticsOperatingMode::TEM    ? "TEM"
                       : optics.OperatingMode == MetadataLib::OpticsOperatingMode::STEM ? "STEM"
                                                                                        : "";
    report.Section("Optics");
    report.Line({mode,
                 {"acceleration", FormatAccelerationVoltage(optics.AccelerationVoltage)},
                 {"magnification", FormatMagnification(optics.NominalMagnification)},
                 {"camera length", FormatCameraLength(optics.CameraLength)}});
    report.Line({{"defocus", FormatDefocus(optics.Defocus)},
                 {"working distance", FormatWorkingDistance(optics.WorkingDistance)},
                 {"convergence", FormatConvergenceAngle(optics.BeamConvergence)},
                 {"spot", FormatSpotSize(optics.SpotSize)}});
    report.Line({{"beam current", FormatBeamCurrent(optics.BeamCurrent)},
                 {"screen current", FormatScreenCurrent(optics.ScreenCurrent)},
                 {"emission", FormatEmissionCurrent(optics.EmissionCurrent)}});
    for (const auto& aperture : optics.Apertures)
    {
        report.Line({{"aperture", aperture.Name},
                     aperture.Type,
                     {"diameter", QuantityText(aperture.Diameter.value_or(NotGiven), "m")}});
    }
    report.Section("Energy filter");
    const auto& filter = metadata.EnergyFilterSettings;
    report.Line({{"slit", FormatSlitWidth(filter.EnergySelectionSlitWidth) +
                              Switch(filter.EnergySelectionSlitInserted, L" inserted", L" retracted")},
                 {"shift", FormatEnergyLoss(filter.EnergyShift)}});
    const auto& vacuum = metadata.VacuumProperties;
    report.Section("Vacuum");
    report.Line({vacuum.VacuumMode,
                 {"sample", FormatPressure(vacuum.SamplePressure)},
                 {"column", FormatPressure(vacuum.ElectronColumnPressure)},
                 {"projection chamber", FormatPressure(vacuum.ProjectionChamberPressure)}});
    report.Section("Gas injection");
    for (const auto& system : metadata.GasInjectionSystems)
    {
        std::string gases;
        for (const auto& gas : system.Gases)
        {
            gases += (gases.empty() ? "" : " ") + gas.GasType;
        }
        report.Line({system.PortName, gases, Switch(system.GasFlowOn, L"flowing", L"closed"),
                     Switch(system.HeaterOn, L"heater on", L"heater off")});
    }
}

void DescribeStageAndScan(FactText& report, const Metadata& metadata)
{
    const auto& stage = metadata.StageSettings;
    const auto& position = stage.StagePosition;
    report.Section("Stage");
    report.Line({{"x", FormatStagePosition(position.X)},
                 {"y", FormatStagePosition(position.Y)},
                 {"z", FormatStagePosition(position.Z)},
                 {"rotation", FormatTiltAngle(position.Rotation)},
                 {"alpha", FormatTiltAngle(position.Tilt.Alpha)},
                 {"beta", FormatTiltAngle(position.Tilt.Beta)}});
    report.Line({stage.HolderType, {"temperature", FormatTemperature(stage.HolderTemperature)}});
    const auto& scan = metadata.ScanSettings;
    if (scan.ScanSize.width > 0)
    {
        report.Section("Scan");
        report.Line({Text(FormatImageSize(scan.ScanSize.width, scan.ScanSize.height)),
                     {"dwell time", FormatDwellTime(scan.DwellTime)},
                     {"frame time", FormatFrameTime(scan.FrameTime)},
                     {"rotation", FormatTiltAngle(scan.ScanRotation)}});
    }
}

void DescribeDetectors(FactText& report, const Metadata& metadata)
{
    report.Section("Detectors");
    for (const auto& detector : metadata.Detectors)
    {
        std::string_view name;
        std::wstring value;
        if (const auto* imaging = dynamic_cast<const MetadataLib::ImagingDetector*>(detector.get()))
        {
            name = "exposure";
            value = FormatExposureTime(imaging->ExposureTime);
        }
        else if (const auto* scanning = dynamic_cast<const MetadataLib::ScanningDetector*>(detector.get());
                 scanning != nullptr && scanning->CollectionAngleRange)
        {
            value = FormatConvergenceAngle(scanning->CollectionAngleRange->begin) + L" to " +
                    FormatConvergenceAngle(scanning->CollectionAngleRange->end);
        }
        report.Line({detector->DetectorName,
                     detector->DetectorType,
                     {name, value},
                     Switch(detector->Inserted, L"inserted", L"retracted")});
    }
    if (!metadata.CustomProperties.empty())
    {
        report.Section("Custom");
        report.Line(std::to_string(metadata.CustomProperties.size()) + " properties");
    }
}

void DescribeRecord(FactText& report, const ImageIO::TiffReader& reader, const Metadata& metadata)
{
    DescribePixels(report, reader, metadata);
    DescribeOrigin(report, metadata);
    DescribeColumn(report, metadata);
    DescribeStageAndScan(report, metadata);
    DescribeDetectors(report, metadata);
}

/// The facts about a file's pixels.
struct PixelReport
{
    std::uint32_t pageCount = 1;
    std::string fault; ///< Empty if the first image can be read.
};

/// \param reader has the file open, and hands it over.
/// \param isRead reads the first image, as import does.
PixelReport ExaminePixels(ImageIO::TiffReader& reader, bool isRead)
{
    PixelReport report;
    try
    {
        ImageIO::ImageFile opened(reader);
        report.pageCount = opened.PageCount();
        if (isRead)
        {
            opened.ReadImage();
        }
    }
    catch (const ImageIO::ReadImageException& failure)
    {
        const bool isForeign = failure.GetCause() == ImageIO::ReadImageException::Cause::Unsupported;
        report.fault = (isForeign ? "pixels that cannot be taken over: " : "damaged: ") + failure.Reason();
    }
    return report;
}

/// "unsigned", "signed" or "float"; the code of another type.
std::string SampleFormatName(ImageIO::TiffSampleFormat format)
{
    switch (format)
    {
    case ImageIO::TiffSampleFormat::UnsignedInteger:
        return "unsigned";
    case ImageIO::TiffSampleFormat::SignedInteger:
        return "signed";
    case ImageIO::TiffSampleFormat::FloatingPoint:
        return "float";
    }
    return std::to_string(static_cast<int>(format));
}

/// Written without QJsonObject, which takes as long as reading a small file.
std::string ImageFacts(const ImageIO::TiffReader& reader, std::uint32_t pageCount)
{
    return "{\"bitsPerSample\":" + std::to_string(reader.GetBitsPerSample()) +
           ",\"height\":" + std::to_string(reader.GetImageHeight()) + ",\"pages\":" + std::to_string(pageCount) +
           ",\"rowsPerStrip\":" + std::to_string(reader.GetRowsPerStrip()) + ",\"sampleFormat\":\"" +
           SampleFormatName(reader.GetSampleFormat()) +
           "\",\"samplesPerPixel\":" + std::to_string(reader.GetSamplesPerPixel()) +
           ",\"strips\":" + std::to_string(reader.GetStripCount()) +
           ",\"width\":" + std::to_string(reader.GetImageWidth()) + "}";
}

/// docs/kiln.md describes the object.
std::string FactsOf(const std::string& file, const ImageIO::TiffReader& reader, std::uint32_t pageCount,
                    const std::optional<Metadata>& record, const std::vector<std::string>& damages)
{
    QJsonArray faults;
    for (const std::string& damage : damages)
    {
        faults.append(QString::fromStdString(damage));
    }
    std::string facts = JsonText({{"file", QString::fromStdString(file)}, {"faults", faults}});
    AddMember(facts, "image", ImageFacts(reader, pageCount));
    AddMember(facts, "record", record ? MetadataSerializer::Record(*record).ToJsonObject() : "null");
    return facts;
}

FileReport Info(const FoundFile& found, const InfoOptions& options)
{
    const std::string& file = found.name;
    const InputFile input(file, found.isRegular);
    ImageIO::TiffReader reader;
    std::vector<std::string> damages;
    bool areFieldsWhole = true;
    try
    {
        reader.OpenFields(input.WidePath());
    }
    catch (const std::runtime_error& error)
    {
        if (reader.GetImageWidth() == 0)
        {
            throw Failure(file + ": " + error.what());
        }
        areFieldsWhole = reader.GetStripCount() == 0; // tiles, which this reader does not support
    }

    const RecordDocument document{reader.GetMetadataText(), MetadataSerializer::SerializeType::Xml};
    const PixelReport pixels = ExaminePixels(reader, !options.isQuick);
    if (!pixels.fault.empty())
    {
        damages.push_back(file + ": " + pixels.fault);
    }
    std::optional<Metadata> record;
    try
    {
        if (!document.text.empty())
        {
            record = ReadDocument(document, file);
        }
    }
    catch (const Failure& failure)
    {
        damages.emplace_back(failure.what());
    }
    FileReport result;
    if (options.batch.isJson)
    {
        result.output = FactsOf(file, reader, pixels.pageCount, record, damages);
        return result;
    }
    FactText report;
    DescribeImage(report, reader, pixels.pageCount);
    if (record)
    {
        DescribeRecord(report, reader, *record);
    }
    else
    {
        report.Section("Record");
        report.Line(!document.text.empty() ? "cannot be read" : areFieldsWhole ? "none" : "none that can be read");
    }
    result.output = Printable(file) + "\n" + report.Text();
    for (const std::string& damage : damages)
    {
        result.messages += "kiln: " + Printable(damage) + '\n';
    }
    return result;
}

} // namespace

bool Info(const InfoOptions& options)
{
    return ForEachFile(options.batch, FilesOfFolder::Tiff, [&](const FoundFile& file) { return Info(file, options); });
}

} // namespace Ardo::Kiln::Tool
