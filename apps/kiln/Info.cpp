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
#include "Ardo/Kiln/Time/IsoString.h"

#include <QJsonArray>

#include <charconv>
#include <limits>
#include <vector>

namespace Ardo::Kiln::Tool
{

namespace
{

using MetadataLib::Metadata;
using namespace Formatting; // the functions of quantities

constexpr double NotGiven = std::numeric_limits<double>::quiet_NaN();

std::string Text(const std::optional<std::string>& text)
{
    return text.value_or("");
}

std::string Text(const std::wstring& text)
{
    return Conversion::String::ToUtf8(text);
}

/// "name value unit", or "name -" when the value is not given.
std::string Named(const std::string& name, const std::wstring& text)
{
    return name + " " + Text(text);
}

std::string Named(const std::string& name, const std::string& text)
{
    return text.empty() ? "" : name + " " + text;
}

std::string Switch(const std::optional<bool>& state, const char* on, const char* off)
{
    return !state ? "" : *state ? on : off;
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
    report.Line(Text(FormatImageSize(reader.GetImageWidth(), reader.GetImageHeight())) + ", " + KindText(reader));
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
        const std::string unitX = Text(result.PixelSize->X.Unit);
        const std::string unitY = Text(result.PixelSize->Y.Unit);
        report.Line(Area(x, y, unitX, unitY, false));
        report.Section("Field of view");
        report.Line(Area(x * reader.GetImageWidth(), y * reader.GetImageHeight(), unitX, unitY, true));
    }
    if (result.PixelValueMinimum || result.PixelValueMaximum)
    {
        report.Section("Grey values");
        report.Line({QuantityText(result.PixelValueMinimum.value_or(NotGiven), "") + " to " +
                         QuantityText(result.PixelValueMaximum.value_or(NotGiven), ""),
                     "mean " + QuantityText(result.PixelValueMean.value_or(NotGiven), ""),
                     "standard deviation " + QuantityText(result.PixelValueStandardDeviation.value_or(NotGiven), "")});
    }
}

void DescribeOrigin(FactText& report, const Metadata& metadata)
{
    report.Section("Acquired");
    report.Line({Time::ToUtcTimeISOString(metadata.Acquisition.AcquisitionDatetime),
                 Named("by", Text(metadata.Core.UserID)), Text(metadata.Acquisition.BeamType)});
    report.Section("Comment");
    report.Line({Text(metadata.Core.Comment)});
    report.Section("Software");
    const std::string software = Text(metadata.Core.ApplicationSoftware);
    report.Line({software.empty() ? "-" : software + Named("", Text(metadata.Core.ApplicationSoftwareVersion)),
                 Named("on", Text(metadata.Core.ApplicationComputerName))});
    report.Section("Instrument");
    report.Line({metadata.Instrument.Manufacturer, Text(metadata.Instrument.InstrumentModel),
                 Named("id", metadata.Instrument.InstrumentID)});
    report.Section("Sample");
    report.Line({Text(metadata.Sample.SampleID), Text(metadata.Sample.SampleDescription),
                 Named("region", Text(metadata.Sample.RegionOfInterestID))});
}

void DescribeColumn(FactText& report, const Metadata& metadata)
{
    const auto& optics = metadata.Optics;
    const char* mode = optics.OperatingMode == MetadataLib::OpticsOperatingMode::TEM    ? "TEM"
                       : optics.OperatingMode == MetadataLib::OpticsOperatingMode::STEM ? "STEM"
                                                                                        : "";
    report.Section("Optics");
    report.Line({mode, Named("acceleration", FormatAccelerationVoltage(optics.AccelerationVoltage)),
                 Named("magnification", FormatMagnification(optics.NominalMagnification)),
                 Named("camera length", FormatCameraLength(optics.CameraLength))});
    report.Line({Named("defocus", FormatDefocus(optics.Defocus)),
                 Named("working distance", FormatWorkingDistance(optics.WorkingDistance)),
                 Named("convergence", FormatConvergenceAngle(optics.BeamConvergence)),
                 Named("spot", FormatSpotSize(optics.SpotSize))});
    report.Line({Named("beam current", FormatBeamCurrent(optics.BeamCurrent)),
                 Named("screen current", FormatScreenCurrent(optics.ScreenCurrent)),
                 Named("emission", FormatEmissionCurrent(optics.EmissionCurrent))});
    for (const auto& aperture : optics.Apertures)
    {
        report.Line({Named("aperture", Text(aperture.Name)), aperture.Type,
                     "diameter " + QuantityText(aperture.Diameter.value_or(NotGiven), "m")});
    }
    report.Section("Energy filter");
    report.Line({Named("slit", FormatSlitWidth(metadata.EnergyFilterSettings.EnergySelectionSlitWidth)) +
                     Switch(metadata.EnergyFilterSettings.EnergySelectionSlitInserted, " inserted", " retracted"),
                 Named("shift", FormatEnergyLoss(metadata.EnergyFilterSettings.EnergyShift))});
    const auto& vacuum = metadata.VacuumProperties;
    report.Section("Vacuum");
    report.Line({vacuum.VacuumMode, Named("sample", FormatPressure(vacuum.SamplePressure)),
                 Named("column", FormatPressure(vacuum.ElectronColumnPressure)),
                 Named("projection chamber", FormatPressure(vacuum.ProjectionChamberPressure))});
    report.Section("Gas injection");
    for (const auto& system : metadata.GasInjectionSystems)
    {
        std::string gases;
        for (const auto& gas : system.Gases)
        {
            gases += (gases.empty() ? "" : " ") + gas.GasType;
        }
        report.Line({Text(system.PortName), gases, Switch(system.GasFlowOn, "flowing", "closed"),
                     Switch(system.HeaterOn, "heater on", "heater off")});
    }
}

void DescribeStageAndScan(FactText& report, const Metadata& metadata)
{
    const auto& stage = metadata.StageSettings;
    const auto& position = stage.StagePosition;
    report.Section("Stage");
    report.Line({Named("x", FormatStagePosition(position.X)), Named("y", FormatStagePosition(position.Y)),
                 Named("z", FormatStagePosition(position.Z)), Named("rotation", FormatTiltAngle(position.Rotation)),
                 Named("alpha", FormatTiltAngle(position.Tilt.Alpha)),
                 Named("beta", FormatTiltAngle(position.Tilt.Beta))});
    report.Line({Text(stage.HolderType), Named("temperature", FormatTemperature(stage.HolderTemperature))});
    const auto& scan = metadata.ScanSettings;
    if (scan.ScanSize.width > 0)
    {
        report.Section("Scan");
        report.Line({Text(FormatImageSize(scan.ScanSize.width, scan.ScanSize.height)),
                     Named("dwell time", FormatDwellTime(scan.DwellTime)),
                     Named("frame time", FormatFrameTime(scan.FrameTime)),
                     Named("rotation", FormatTiltAngle(scan.ScanRotation))});
    }
}

void DescribeDetectors(FactText& report, const Metadata& metadata)
{
    report.Section("Detectors");
    for (const auto& detector : metadata.Detectors)
    {
        std::string detail;
        if (const auto* imaging = dynamic_cast<const MetadataLib::ImagingDetector*>(detector.get()))
        {
            detail = Named("exposure", FormatExposureTime(imaging->ExposureTime));
        }
        else if (const auto* scanning = dynamic_cast<const MetadataLib::ScanningDetector*>(detector.get());
                 scanning != nullptr && scanning->CollectionAngleRange)
        {
            detail = Text(FormatConvergenceAngle(scanning->CollectionAngleRange->begin) + L" to " +
                          FormatConvergenceAngle(scanning->CollectionAngleRange->end));
        }
        report.Line({detector->DetectorName, Text(detector->DetectorType), detail,
                     Switch(detector->Inserted, "inserted", "retracted")});
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
QString SampleFormatName(ImageIO::TiffSampleFormat format)
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
    return QString::number(static_cast<int>(format));
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
    const auto number = [](std::uint32_t value) { return static_cast<qint64>(value); };
    const QJsonObject image{{"width", number(reader.GetImageWidth())},
                            {"height", number(reader.GetImageHeight())},
                            {"samplesPerPixel", reader.GetSamplesPerPixel()},
                            {"bitsPerSample", reader.GetBitsPerSample()},
                            {"sampleFormat", SampleFormatName(reader.GetSampleFormat())},
                            {"strips", number(reader.GetStripCount())},
                            {"rowsPerStrip", number(reader.GetRowsPerStrip())},
                            {"pages", number(pageCount)}};
    QJsonObject facts{{"file", QString::fromStdString(file)}, {"image", image}, {"faults", faults}};
    if (record)
    {
        return JsonText(facts, *record);
    }
    facts.insert("record", QJsonValue());
    return JsonText(facts);
}

FileReport Info(const std::string& file, const InfoOptions& options)
{
    const InputFile input(file);
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

    const std::string text = reader.GetMetadataText();
    const PixelReport pixels = ExaminePixels(reader, !options.isQuick);
    if (!pixels.fault.empty())
    {
        damages.push_back(file + ": " + pixels.fault);
    }
    std::optional<Metadata> record;
    try
    {
        if (!text.empty())
        {
            record = ReadDocument({text, MetadataSerializer::SerializeType::Xml}, file);
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
        report.Line(!text.empty() ? "cannot be read" : areFieldsWhole ? "none" : "none that can be read");
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
    return ForEachFile(options.batch, FilesOfFolder::Tiff,
                       [&](const FoundFile& file) { return Info(file.name, options); });
}

} // namespace Ardo::Kiln::Tool
