#pragma once

#include "Ardo/MetadataLib/Metadata.h"

#include <array>
#include <string_view>
#include <type_traits>

namespace Ardo::Kiln::MetadataSerializer
{

// The names of enumeration values in documents: the first stands for the value 1, and so on. 0 is unset and has none.

template <typename Enum>
struct EnumerationNames;

template <>
struct EnumerationNames<MetadataLib::OpticsOperatingMode>
{
    static constexpr std::array<std::string_view, 2> Names{"TEM", "STEM"};
};

template <>
struct EnumerationNames<MetadataLib::OpticsProjectorMode>
{
    static constexpr std::array<std::string_view, 2> Names{"Diffraction", "Imaging"};
};

template <>
struct EnumerationNames<MetadataLib::OpticsProbeMode>
{
    static constexpr std::array<std::string_view, 2> Names{"Nanoprobe", "Microprobe"};
};

template <>
struct EnumerationNames<MetadataLib::AnalyticalDetectorShutterState>
{
    static constexpr std::array<std::string_view, 5> Names{"Unknown", "Opening", "Closing", "Opened", "Closed"};
};

template <>
struct EnumerationNames<MetadataLib::GasInjectionSystemNeedleState>
{
    static constexpr std::array<std::string_view, 9> Names{
        "Offline", "Inserted", "Retracted", "Inserting", "Retracting", "Error", "MaskOnline", "Venting", "Unknown"};
};

template <>
struct EnumerationNames<MetadataLib::ImagingDetectorDarkGainCorrectionType>
{
    static constexpr std::array<std::string_view, 3> Names{"None", "Dark", "DarkGain"};
};

/// An enumeration that documents write by name.
template <typename T>
concept NamedEnumeration = std::is_enum_v<T> && requires
{
    EnumerationNames<T>::Names;
};

} // namespace Ardo::Kiln::MetadataSerializer
