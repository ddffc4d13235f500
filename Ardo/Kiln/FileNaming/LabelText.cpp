#include "Ardo/Kiln/FileNaming/LabelText_p.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/Formatting/MicroscopeQuantities.h"
#include "Ardo/Kiln/Time/CalendarTime.h"
#include "Ardo/MetadataLib/ImagingDetector.h"

#include <algorithm>
#include <array>

namespace Ardo::Kiln::FileNaming
{

namespace
{

using MetadataLib::Metadata;

std::wstring ToWide(const std::optional<std::string>& utf8)
{
    std::wstring wide;
    Conversion::AppendReplacing(wide, std::string_view(utf8 ? *utf8 : std::string()));
    return wide;
}

// The text of a quantity without the space before its unit; empty if it is not given.
std::wstring Compact(std::wstring text)
{
    text.erase(std::remove(text.begin(), text.end(), L' '), text.end());
    return text == L"-" ? std::wstring() : text;
}

// "13:05:09" as "130509": a colon is in no name.
std::wstring TimeOfDay(Time::TimePoint time)
{
    if (!Time::ToLocaltime(time))
    {
        return {};
    }
    std::wstring text = Time::ToLocalTimeString(std::optional(time), Time::TimeFormat::Plain).substr(11);
    text.erase(std::remove(text.begin(), text.end(), L':'), text.end());
    return text;
}

std::wstring DetectorOf(const Metadata& record)
{
    if (record.BinaryResult.Detector)
    {
        return ToWide(record.BinaryResult.Detector);
    }
    return record.Detectors.empty() ? std::wstring() : ToWide(record.Detectors.front()->DetectorName);
}

std::optional<double> ExposureOf(const Metadata& record)
{
    for (const auto& detector : record.Detectors)
    {
        if (const auto* const camera = dynamic_cast<const MetadataLib::ImagingDetector*>(detector.get()))
        {
            return camera->ExposureTime;
        }
    }
    return std::nullopt;
}

std::wstring ModeOf(const Metadata& record)
{
    switch (record.Optics.OperatingMode)
    {
    case MetadataLib::OpticsOperatingMode::TEM:
        return L"TEM";
    case MetadataLib::OpticsOperatingMode::STEM:
        return L"STEM";
    default:
        return {};
    }
}

struct Placeholder
{
    std::wstring_view name;
    std::wstring (*text)(Time::TimePoint time, const Metadata& record);
};

using namespace Formatting; // the functions of quantities

constexpr std::array<Placeholder, 13> Placeholders{{
    {L"Date", [](Time::TimePoint time, const Metadata&) { return DayOf(time); }},
    {L"Time", [](Time::TimePoint time, const Metadata&) { return TimeOfDay(time); }},
    {L"User", [](Time::TimePoint, const Metadata& record) { return ToWide(record.Core.UserID); }},
    {L"Sample", [](Time::TimePoint, const Metadata& record) { return ToWide(record.Sample.SampleID); }},
    {L"Detector", [](Time::TimePoint, const Metadata& record) { return DetectorOf(record); }},
    {L"Mode", [](Time::TimePoint, const Metadata& record) { return ModeOf(record); }},
    {L"Magnification", [](Time::TimePoint, const Metadata& record)
     { return Compact(FormatMagnification(record.Optics.NominalMagnification)); }},
    {L"AccelerationVoltage", [](Time::TimePoint, const Metadata& record)
     { return Compact(FormatAccelerationVoltage(record.Optics.AccelerationVoltage)); }},
    {L"BeamCurrent",
     [](Time::TimePoint, const Metadata& record) { return Compact(FormatBeamCurrent(record.Optics.BeamCurrent)); }},
    {L"Defocus", [](Time::TimePoint, const Metadata& record) { return Compact(FormatDefocus(record.Optics.Defocus)); }},
    {L"CameraLength",
     [](Time::TimePoint, const Metadata& record) { return Compact(FormatCameraLength(record.Optics.CameraLength)); }},
    {L"DwellTime",
     [](Time::TimePoint, const Metadata& record) { return Compact(FormatDwellTime(record.ScanSettings.DwellTime)); }},
    {L"ExposureTime",
     [](Time::TimePoint, const Metadata& record) { return Compact(FormatExposureTime(ExposureOf(record))); }},
}};

} // namespace

std::wstring DayOf(Time::TimePoint time)
{
    return Time::ToLocaltime(time) ? Time::ToLocalTimeString(std::optional(time), Time::TimeFormat::Plain).substr(0, 10)
                                   : L"undated";
}

std::optional<std::wstring> FillIn(const std::wstring& label, Time::TimePoint time, const Metadata& record)
{
    std::wstring text;
    std::size_t at = 0;
    while (at < label.size())
    {
        const std::size_t open = std::min(label.find(L'{', at), label.size());
        text.append(label, at, open - at);
        const std::size_t close = label.find(L'}', open);
        const std::wstring_view name = close == std::wstring::npos
                                           ? std::wstring_view()
                                           : std::wstring_view(label).substr(open + 1, close - open - 1);
        const auto* const found = std::find_if(Placeholders.begin(), Placeholders.end(),
                                               [&](const Placeholder& entry) { return entry.name == name; });
        if (found == Placeholders.end())
        {
            // Not a placeholder: the brace is text, and one may begin behind it.
            text.append(label, open, 1);
            at = open + 1;
            continue;
        }
        const std::wstring value = found->text(time, record);
        if (value.empty())
        {
            return std::nullopt;
        }
        text += value;
        at = close + 1;
    }
    return text;
}

} // namespace Ardo::Kiln::FileNaming
