#include "apps/viewer/Model/RecordTree.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Formatting/QuantityFormat.h"
#include "Ardo/Kiln/Formatting/SI.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/Time/CalendarTime.h"
#include "Ardo/Kiln/Time/IsoString.h"

#include <boost/property_tree/ptree.hpp>

#include <cmath>
#include <limits>
#include <map>
#include <optional>

namespace Ardo::Kiln::Viewer
{

namespace
{

using boost::property_tree::ptree;
using Formatting::Quantity;

/// The fields that have a format of their own, by their names in the document.
const std::map<std::string, Quantity>& QuantitiesByName()
{
    static const std::map<std::string, Quantity> g_quantities = {
        {"NominalMagnification", Quantity::Magnification},
        {"AccelerationVoltage", Quantity::AccelerationVoltage},
        {"BeamCurrent", Quantity::BeamCurrent},
        {"BeamCurrentSelected", Quantity::BeamCurrent},
        {"ScreenCurrent", Quantity::ScreenCurrent},
        {"LastMeasuredScreenCurrent", Quantity::ScreenCurrent},
        {"EmissionCurrent", Quantity::EmissionCurrent},
        {"Defocus", Quantity::Defocus},
        {"Focus", Quantity::Focus},
        {"STEMFocus", Quantity::Focus},
        {"WorkingDistance", Quantity::WorkingDistance},
        {"EucentricWorkingDistance", Quantity::WorkingDistance},
        {"CameraLength", Quantity::CameraLength},
        {"FullScanFieldOfView", Quantity::FieldOfView},
        {"ScanFieldOfView", Quantity::FieldOfView},
        {"SpotSize", Quantity::SpotSize},
        {"BeamConvergence", Quantity::ConvergenceAngle},
        {"Alpha", Quantity::TiltAngle},
        {"Beta", Quantity::TiltAngle},
        {"Rotation", Quantity::TiltAngle},
        {"ScanRotation", Quantity::TiltAngle},
        {"SamplePreTiltAngle", Quantity::TiltAngle},
        {"ExposureTime", Quantity::ExposureTime},
        {"ExposureTime2", Quantity::ExposureTime},
        {"DwellTime", Quantity::DwellTime},
        {"FrameTime", Quantity::FrameTime},
        {"HolderTemperature", Quantity::Temperature},
        {"CrucibleTemperature", Quantity::Temperature},
        {"NeedleTemperature", Quantity::Temperature},
        {"StagePosition", Quantity::StagePosition},
        {"EnergyShift", Quantity::EnergyLoss},
        {"EnergySelectionSlitWidth", Quantity::SlitWidth},
    };
    return g_quantities;
}

/// The unit of a field without a format of its own, by the end of its name: the record is in SI base units.
std::string UnitByName(const std::string& name)
{
    constexpr std::pair<const char*, const char*> Units[] = {
        {"Voltage", "V"},
        {"WehneltBias", "V"},
        {"Time", "s"},
        {"Pressure", "Pa"},
        {"Diameter", "m"},
        {"SphericalAberration", "m"},
        {"Shift", "m"},
        {"BeamTilt", "rad"},
        {"Angle", "rad"},
        {"PositionOffset", "m"},
        {"ScintillatorPixelSize", "m"},
        {"CountRate", "Hz"},
    };
    for (const auto& [end, unit] : Units)
    {
        if (name.ends_with(end))
        {
            return unit;
        }
    }
    return {};
}

QString Text(const std::string& text)
{
    return QString::fromStdString(text);
}

/// "AccelerationVoltage" as "Acceleration voltage".
QString ReadableName(const std::string& name)
{
    QString text;
    const QString source = Text(name);
    for (int i = 0; i < source.size(); ++i)
    {
        const bool isUpper = source[i].isUpper();
        const bool startsWord = isUpper && i > 0 && source[i - 1].isLower();
        const bool endsAbbreviation = isUpper && i > 0 && i + 1 < source.size() && source[i + 1].isLower() &&
                                      !source[i - 1].isLower() && source[i - 1].isLetter();
        if (startsWord || endsAbbreviation)
        {
            text += QLatin1Char(' ');
            const bool isAbbreviation = i + 1 < source.size() && source[i + 1].isUpper();
            text += isAbbreviation ? source[i] : source[i].toLower();
        }
        else
        {
            text += source[i];
        }
    }
    return text;
}

std::optional<double> Number(const std::string& text)
{
    bool isNumber = false;
    const double value = Text(text).toDouble(&isNumber); // "." in every locale
    return isNumber ? std::optional(value) : std::nullopt;
}

QString WithUnit(double value, const std::string& unit)
{
    using Formatting::Prefix;
    constexpr double Unknown = std::numeric_limits<double>::quiet_NaN();
    return QString::fromStdWString(Formatting::SI(value, Conversion::String::FromUtf8(unit), 4, Unknown, Unknown,
                                                  Prefix::Femto, Prefix::Exa, false));
}

/// A time of the document in local time.
QString LocalTime(const std::string& text)
{
    return QString::fromStdWString(
        Time::ToLocalTimeString(std::optional(Time::FromLocalTimeISOString(text)), Time::TimeFormat::Plain));
}

/// The text of a value as a person writes it. \p name decides about the unit.
QString ReadableValue(const std::string& name, const std::string& text)
{
    constexpr int Digits = 7;
    if (name.ends_with("Datetime"))
    {
        return LocalTime(text);
    }
    const auto number = Number(text);
    if (!number)
    {
        return Text(text);
    }
    if (const auto known = QuantitiesByName().find(name); known != QuantitiesByName().end())
    {
        return QString::fromStdWString(Formatting::FormatQuantity(*number, known->second));
    }
    if (const std::string unit = UnitByName(name); !unit.empty())
    {
        return WithUnit(*number, unit);
    }
    const bool isFraction = text.find_first_of(".e") != std::string::npos;
    return isFraction ? QString::number(*number, 'g', Digits) : Text(text);
}

/// The value of an element that carries its own unit; empty if it is no such element.
std::optional<QString> OwnQuantity(const ptree& tree)
{
    const auto value = tree.get_optional<std::string>("value");
    const auto number = value ? Number(*value) : std::nullopt;
    if (!number || !tree.get_child_optional("unit"))
    {
        return std::nullopt;
    }
    const int power = tree.get<int>("unitPrefixPower", 0);
    return WithUnit(MetadataLib::InBaseUnit({*number, std::nullopt, power}), tree.get<std::string>("unit", ""));
}

RecordNode MakeNode(const std::string& name, const std::string& unitName, const ptree& tree)
{
    RecordNode node;
    node.name = ReadableName(name);
    if (const auto property = tree.get_optional<std::string>("rawdatatype"))
    {
        return {Text(tree.get<std::string>("name", "")), Text(tree.get<std::string>("value", "")), {}};
    }
    if (const auto quantity = OwnQuantity(tree))
    {
        node.value = *quantity;
        return node;
    }
    if (tree.empty())
    {
        node.value = ReadableValue(unitName, tree.data());
        return node;
    }
    for (const auto& [childName, child] : tree)
    {
        const bool isComponent = childName.size() == 1 || childName == "Width" || childName == "Height";
        node.children.push_back(MakeNode(childName, isComponent ? unitName : childName, child));
    }
    return node;
}

} // namespace

std::vector<RecordNode> MakeRecordTree(const MetadataLib::Metadata& metadata)
{
    const ptree tree = MetadataSerializer::Record(metadata).Serialize(MetadataSerializer::SerializeType::Json);
    std::vector<RecordNode> nodes;
    for (const auto& [name, section] : tree)
    {
        RecordNode node = MakeNode(name, name, section);
        if (!node.children.empty())
        {
            nodes.push_back(std::move(node));
        }
    }
    return nodes;
}

} // namespace Ardo::Kiln::Viewer
